#include "host/workbench/salvos/SalvosView.h"

#include <QFileDialog>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QMessageBox>
#include <QPushButton>
#include <QTableView>
#include <QVBoxLayout>
#include <algorithm>

#include "host/workbench/LinesLabel.h"
#include "host/workbench/Obstacle.h"
#include "host/workbench/Words.h"
#include "host/workbench/salvos/SalvoFile.h"
#include "platform/widgets/DisplayText.h"

namespace velmora {

namespace {

QString fileKinds() {
    return Words::tr("Salvos (*.salvo);;All files (*)");
}

}  // namespace

SalvosView::SalvosView(RoutingState& state)
    : state_(state), model_(state), table_(new QTableView), summary_(new LinesLabel("salvoSummary", 1)) {
    makeTable();
    auto* const rows = new QVBoxLayout(this);
    rows->setContentsMargins(4, 4, 4, 4);
    rows->addWidget(summary_);
    rows->addWidget(table_, 1);
    rows->addWidget(makeButtons());
    setFocusProxy(table_);
    // All values that are read at once lead to one look.
    news_.setSingleShot(true);
    connect(&news_, &QTimer::timeout, this, &SalvosView::showState);
    for (const QAbstractItemModel* const model :
         {static_cast<QAbstractItemModel*>(&model_), static_cast<QAbstractItemModel*>(&state.attributes())}) {
        connect(model, &QAbstractItemModel::dataChanged, &news_, [this] { news_.start(0); });
        connect(model, &QAbstractItemModel::modelReset, &news_, [this] { news_.start(0); });
    }
    connect(table_->selectionModel(), &QItemSelectionModel::selectionChanged, this, &SalvosView::showState);
    showState();
}

void SalvosView::makeTable() {
    table_->setModel(&model_);
    table_->setObjectName("salvoTable");
    table_->setAccessibleName(Words::tr("Steps of the salvo"));
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
    const auto add = [&](const char* name, const QString& text, const QString& toolTip, void (SalvosView::*action)()) {
        auto* const button = new QPushButton(text);
        button->setObjectName(name);
        button->setWhatsThis(toolTip);
        showObstacle(*button, {});
        button->setAutoDefault(false);
        connect(button, &QPushButton::clicked, this, action);
        row->addWidget(button);
        return button;
    };
    take_ = add("takeRoutesButton", Words::tr("Take Current"),
                Words::tr("Make a salvo of all routes that are known now"), &SalvosView::take);
    remove_ = add("removeStepButton", Words::tr("Remove"), Words::tr("Take the selected step out of the salvo"),
                  &SalvosView::removeSelected);
    row->addStretch();
    load_ = add("loadSalvoButton", Words::tr("Load\u2026"), Words::tr("Read a salvo from a file"),
                &SalvosView::askWhereToLoad);
    save_ = add("saveSalvoButton", Words::tr("Save\u2026"),
                Words::tr("Write the salvo to a file, which \"velmora-host apply\" takes, too"),
                &SalvosView::askWhereToSave);
    fire_ = add("fireButton", Words::tr("FIRE"), Words::tr("Set all steps in this order, and read each back"),
                &SalvosView::fire);
    return bar;
}

void SalvosView::take() {
    // What is on air, not what the window saw last.
    const auto names = state_.attributes().names();
    const bool areKnown = state_.session().readNow({names.begin(), names.end()});
    file_.clear();
    model_.setSalvo(model_.currentRoutes());
    showState();
    state_.session().setOutcome(areKnown ? Words::tr("The current routes are taken.")
                                         : Words::tr("The current routes are taken, but for %n that could not be read.",
                                                     nullptr, static_cast<int>(names.size() - model_.salvo().size())));
}

void SalvosView::fire() {
    const QString objection = model_.objection();
    if (!objection.isEmpty()) {
        state_.session().setOutcome(Words::tr("The salvo was not fired: %1. Remove takes a step out.").arg(objection));
        return;
    }
    const QString doubts = model_.doubts();
    if (doubts.isEmpty() || mayFireWith(doubts)) model_.fire();
    showState();
}

// The command line warns in the same way, but nobody can answer there.
bool SalvosView::mayFireWith(const QString& doubts) {
    QMessageBox box(QMessageBox::Warning, Words::tr("Fire salvo"),
                    Words::tr("The salvo calls sources otherwise than they are called now. Fire it all the same?"),
                    QMessageBox::Yes | QMessageBox::Cancel, this);
    box.setTextFormat(Qt::PlainText);
    box.setInformativeText(Words::tr("The numbers count.") + '\n' + doubts);
    box.setDefaultButton(QMessageBox::Cancel);
    return box.exec() == QMessageBox::Yes;
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
    showState();
    state_.session().setOutcome(
        salvo ? Words::tr("The salvo %1 is loaded.").arg(name)
              : Words::tr("The salvo %1 was not loaded: %2.").arg(name, displayText(salvo.failure().reason)));
}

void SalvosView::save(const std::filesystem::path& path) {
    const auto written = writeSalvo(path, model_.salvo());
    const QString name = quotedName(path.filename().string());
    if (written) {
        file_ = name;
        model_.setSalvo(model_.salvo());
        showState();
    }
    state_.session().setOutcome(
        written ? Words::tr("The salvo is saved in %1.").arg(name)
                : Words::tr("The salvo was not saved in %1: %2.").arg(name, displayText(written.failure().reason)));
}

void SalvosView::askWhereToLoad() {
    const QString path = QFileDialog::getOpenFileName(this, Words::tr("Load Salvo"), {}, fileKinds());
    if (!path.isEmpty()) load(path.toStdString());
}

void SalvosView::askWhereToSave() {
    const QString path =
        QFileDialog::getSaveFileName(this, Words::tr("Save Salvo"), Words::tr("Untitled.salvo"), fileKinds());
    if (!path.isEmpty()) save(path.toStdString());
}

void SalvosView::showState() {
    const int steps = model_.rowCount();
    const int differences = model_.differences();
    const QString obstacle = state_.session().obstacle();
    const bool isFiring = model_.isFiring();  // another salvo would end it by halves
    showObstacle(*take_, isFiring ? Words::tr("Firing\u2026") : obstacle);
    summary_->say(steps == 0 ? Words::tr("No salvo. Take the current routes, or load a salvo from a file.")
                  : model_.isFiring()
                      ? Words::tr("Firing\u2026")
                      : (file_.isEmpty() ? QString() : file_ + ": ") +
                            Words::tr("%1 of %n steps differ from the values that were read last.", nullptr, steps)
                                .arg(differences));
    showObstacle(*fire_, !obstacle.isEmpty()               ? obstacle
                         : steps == 0 || model_.isFiring() ? summary_->text()
                                                           : QString());
    load_->setEnabled(!isFiring);
    save_->setEnabled(steps > 0 && !isFiring);
    remove_->setEnabled(table_->currentIndex().isValid() && !isFiring);
}

}  // namespace velmora
