#include "host/workbench/salvos/SalvosView.h"

#include <QFileDialog>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableView>
#include <QVBoxLayout>
#include <algorithm>

#include "host/workbench/salvos/SalvoFile.h"
#include "platform/widgets/DisplayText.h"

namespace velmora {

namespace {

constexpr const char* kFileKinds = "Salvos (*.salvo);;All files (*)";

}  // namespace

SalvosView::SalvosView(RoutingState& state)
    : state_(state), model_(state), table_(new QTableView), summary_(new QLabel) {
    makeTable();
    auto* const rows = new QVBoxLayout(this);
    rows->setContentsMargins(4, 4, 4, 4);
    rows->addWidget(summary_);
    rows->addWidget(table_, 1);
    rows->addWidget(makeButtons());
    summary_->setObjectName("salvoSummary");
    summary_->setTextFormat(Qt::PlainText);
    summary_->setWordWrap(true);
    setFocusProxy(table_);
    connect(&model_, &QAbstractItemModel::dataChanged, this, &SalvosView::showState);
    connect(&model_, &QAbstractItemModel::modelReset, this, &SalvosView::showState);
    connect(table_->selectionModel(), &QItemSelectionModel::selectionChanged, this, &SalvosView::showState);
    showState();
}

void SalvosView::makeTable() {
    table_->setModel(&model_);
    table_->setObjectName("salvoTable");
    table_->setAccessibleName("Steps of the salvo");
    table_->setSelectionBehavior(QAbstractItemView::SelectRows);
    table_->setSelectionMode(QAbstractItemView::SingleSelection);
    table_->setAlternatingRowColors(true);
    table_->setTabKeyNavigation(false);  // Tab leaves the table
    table_->setWordWrap(false);
    table_->verticalHeader()->hide();
    table_->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    table_->horizontalHeader()->setHighlightSections(false);
}

QWidget* SalvosView::makeButtons() {
    auto* const bar = new QWidget;
    auto* const row = new QHBoxLayout(bar);
    row->setContentsMargins(0, 0, 0, 0);
    const auto add = [&](const char* name, const char* text, const char* toolTip, void (SalvosView::*action)()) {
        auto* const button = new QPushButton(text);
        button->setObjectName(name);
        button->setToolTip(toolTip);
        button->setAutoDefault(false);
        connect(button, &QPushButton::clicked, this, action);
        row->addWidget(button);
        return button;
    };
    add("takeRoutesButton", "Take Current", "Make a salvo of all routes that are known now", &SalvosView::take);
    remove_ = add("removeStepButton", "Remove", "Take the selected step out of the salvo", &SalvosView::removeSelected);
    row->addStretch();
    add("loadSalvoButton", "Load\u2026", "Read a salvo from a file", &SalvosView::askWhereToLoad);
    save_ = add("saveSalvoButton", "Save\u2026", "Write the salvo to a file, which \"velmora-host apply\" takes, too",
                &SalvosView::askWhereToSave);
    fire_ = add("fireButton", "FIRE", "Set all steps in this order, and read each back", &SalvosView::fire);
    return bar;
}

void SalvosView::take() {
    // What is on air, not what the window saw last.
    const auto names = state_.attributes().names();
    const bool areKnown = state_.session().readNow({names.begin(), names.end()});
    file_.clear();
    model_.setSalvo(model_.currentRoutes());
    state_.session().setOutcome(areKnown ? QString("The current routes are taken.")
                                         : QString("The current routes are taken, but for %1 that could not be read.")
                                               .arg(names.size() - model_.salvo().size()));
}

void SalvosView::fire() {
    const QString objection = model_.objection();
    if (!objection.isEmpty()) {
        state_.session().setOutcome("The salvo was not fired: " + objection + ". Remove takes a step out.");
        return;
    }
    model_.fire();
}

void SalvosView::removeSelected() {
    const int row = table_->currentIndex().row();
    if (row < 0) return;
    model_.removeRow(row);
    table_->selectRow(std::min(row, model_.rowCount() - 1));
}

void SalvosView::load(const std::filesystem::path& path) {
    const auto salvo = state_.session().salvoIn(path);
    const QString name = quotedName(path.filename().string());
    // Where it fails, the salvo of before must not wait to be fired in its place.
    file_ = salvo ? name : QString();
    model_.setSalvo(salvo ? *salvo : Salvo());
    state_.session().setOutcome(salvo ? "The salvo " + name + " is loaded."
                                      : "The salvo " + name +
                                            " was not loaded: " + displayText(salvo.failure().reason) + '.');
}

void SalvosView::save(const std::filesystem::path& path) {
    const auto written = writeSalvo(path, model_.salvo());
    const QString name = quotedName(path.filename().string());
    if (written) file_ = name;
    showState();
    state_.session().setOutcome(written ? "The salvo is saved in " + name + '.'
                                        : "The salvo was not saved in " + name + ": " +
                                              displayText(written.failure().reason) + '.');
}

void SalvosView::askWhereToLoad() {
    const QString path = QFileDialog::getOpenFileName(this, "Load Salvo", {}, kFileKinds);
    if (!path.isEmpty()) load(path.toStdString());
}

void SalvosView::askWhereToSave() {
    const QString path = QFileDialog::getSaveFileName(this, "Save Salvo", "Untitled.salvo", kFileKinds);
    if (!path.isEmpty()) save(path.toStdString());
}

void SalvosView::showState() {
    const int steps = model_.rowCount();
    const int differences = model_.differences();
    summary_->setText(
        steps == 0 ? "No salvo. Take the current routes, or load a salvo from a file."
        : model_.isFiring()
            ? QString("Firing\u2026")
            : (file_.isEmpty() ? QString() : file_ + ": ") +
                  QString("%1 of %2 steps differ from the values that were read last.").arg(differences).arg(steps));
    fire_->setEnabled(steps > 0 && !model_.isFiring());
    save_->setEnabled(steps > 0);
    remove_->setEnabled(table_->currentIndex().isValid() && !model_.isFiring());
}

}  // namespace velmora
