#include "host/workbench/WorkbenchWindow.h"

#include <QCheckBox>
#include <QGroupBox>
#include <QGuiApplication>
#include <QLabel>
#include <QPushButton>
#include <QResizeEvent>
#include <QScopedValueRollback>
#include <QScreen>
#include <QSplitter>
#include <QTabWidget>
#include <QVBoxLayout>

#include "host/workbench/AttributesTable.h"
#include "host/workbench/Banner.h"
#include "host/workbench/grid/GridView.h"
#include "host/workbench/panel/PanelView.h"
#include "host/workbench/salvos/SalvosView.h"
#include "platform/widgets/DisplayText.h"

namespace velmora {

namespace {

constexpr QSize kUsualSize(1120, 720);
constexpr QSize kLeastSize(360, 320);
constexpr QSize kFrame(16, 48);  // what the window system adds around the window, about
// In a narrower window, what is otherwise side by side goes one below the other.
constexpr int kNarrow = 900;
constexpr int kNarrowTopRow = 700;
constexpr std::chrono::milliseconds kDocumentWatch{500};
constexpr const char* kGeometryKey = "geometry";
constexpr const char* kViewKey = "view";

QLabel* newLabel(const char* name) {
    auto* const label = new QLabel;
    label->setObjectName(name);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

void say(QLabel& label, const QString& text) {
    label.setText(text);
    label.setVisible(!text.isEmpty());
}

}  // namespace

WorkbenchWindow::WorkbenchWindow(PluginHost& host, SettingsFile& settingsFile)
    : session_(host, *this),
      routing_(session_),
      dialogs_(*this),
      document_(settingsFile, session_, dialogs_),
      settingsView_(host.plugin().settingsView()),
      connection_(new ConnectionBar),
      age_(newLabel("ageLabel")),
      armed_(new Banner("armed", "Disarm\u2026", kWaitingSignal, [this] { disarm(); })),
      edited_(new Banner("edited", "Apply", kWaitingSignal, [this] { apply(); })),
      hint_(newLabel("hintLabel")),
      outcome_(newLabel("outcomeLabel")),
      standstill_(newLabel("standstillLabel")),
      notice_(newLabel("changeNoticeLabel")),
      doubts_(newLabel("doubtsLabel")),
      history_(new HistoryPane(session_, [this] { saveHistory(); })),
      sides_(new QSplitter),
      halves_(new QSplitter(Qt::Vertical)),
      logFeed_([this](const LogFeed::Lines& lines) { history_->showLog(lines); }) {
    QPalette colours = palette();
    colours.setColor(QPalette::PlaceholderText, dimmedText(colours));
    setPalette(colours);
    menu_ = makeMenu();
    auto* const rows = new QVBoxLayout(this);
    rows->setSizeConstraint(
        QLayout::SetNoConstraint);  // the arrangement follows the width, and not the other way round
    setMinimumSize(kLeastSize);
    rows->setMenuBar(menu_);
    rows->addLayout(makeTopRow());
    for (QWidget* const line : std::initializer_list<QWidget*>{armed_, edited_, hint_, doubts_}) {
        rows->addWidget(line);
    }
    rows->addWidget(makePanes(), 1);
    // Below, because they come and go with each click: nothing may move under the pointer.
    rows->addWidget(outcome_);
    rows->addWidget(standstill_);
    menu_->addViews(*views_);

    connect(&documentWatch_, &QTimer::timeout, this, &WorkbenchWindow::showDocument);
    documentWatch_.start(kDocumentWatch);
    const QSize size = kUsualSize.boundedTo(screen()->availableSize() - kFrame);
    arrangeForWidth(size.width());
    resize(size);
    drawer_->hide();
    menu_->action("historyAction")->setChecked(size.height() >= kUsualSize.height() * 3 / 4);  // room for the views
    menu_->action("settingsAction")->setChecked(!session_.hasServer() || !session_.hasOutputs());
    showDocument();
    sessionHasChanged();
}

WorkbenchWindow::~WorkbenchWindow() {
    hide();
    if (settingsView_ != nullptr) {
        settingsView_->hide();
        settingsView_->setParent(nullptr);
    }
    // As long as there is the session, which they look at.
    qDeleteAll(findChildren<QWidget*>(Qt::FindDirectChildrenOnly));
}

WindowMenu* WorkbenchWindow::makeMenu() {
    WindowMenu::Actions actions;
    actions.load = [this] { load(); };
    actions.save = [this] { save(); };
    actions.saveAs = [this] { saveAs(); };
    actions.quit = [this] { close(); };
    actions.start = [this] { session_.start(false); };
    actions.startWithDefaults = [this] { startWithDefaults(); };
    actions.stop = [this] { session_.stop(); };
    actions.reconnect = [this] { reconnect(); };
    actions.refresh = [this] { session_.refresh(); };
    actions.poll = [this](bool on) { session_.setPolling(on); };
    actions.showSettings = [this](bool on) { drawer_->setVisible(on); };
    actions.showHistory = [this](bool on) { history_->setVisible(on); };
    return new WindowMenu(actions);
}

QBoxLayout* WorkbenchWindow::makeTopRow() {
    topRow_ = new QHBoxLayout;
    topRow_->addWidget(connection_, 1);
    auto* const values = new QHBoxLayout;
    age_->setWordWrap(false);
    values->addWidget(age_);
    auto* const poll = new QCheckBox("every 2 s");
    poll->setObjectName("pollBox");
    poll->setToolTip("Ask the device for what can be seen, while nothing else goes on");
    connect(poll, &QCheckBox::toggled, menu_->action("pollAction"), &QAction::setChecked);
    connect(menu_->action("pollAction"), &QAction::toggled, poll, &QCheckBox::setChecked);
    values->addWidget(poll);
    topRow_->addLayout(values);
    auto* const buttons = new QHBoxLayout;
    const auto add = [&](const char* name, const char* text, const char* action, const QString& toolTip) {
        auto* const button = new QPushButton(text);
        button->setObjectName(name);
        button->setToolTip(toolTip);
        button->setAutoDefault(false);
        connect(button, &QPushButton::clicked, menu_->action(action), &QAction::trigger);
        buttons->addWidget(button);
        return button;
    };
    startedButtons_ = {add("refreshButton", "Refresh", "refreshAction", "Ask the device for all current values (F5)"),
                       add("reconnectButton", "Reconnect", "reconnectAction",
                           "Hand the plugin its settings once more, so that it connects anew (Ctrl+R)")};
    auto* const settings = add("settingsButton", "Settings", "settingsAction", "The plugin's settings (F4)");
    settings->setCheckable(true);
    disconnect(settings, &QPushButton::clicked, nullptr, nullptr);
    connect(settings, &QPushButton::clicked, menu_->action("settingsAction"), &QAction::setChecked);
    connect(menu_->action("settingsAction"), &QAction::toggled, settings, &QPushButton::setChecked);
    topRow_->addLayout(buttons);
    return topRow_;
}

QWidget* WorkbenchWindow::makePanes() {
    drawer_ = makeSettings();
    sides_->addWidget(makeViews());
    sides_->addWidget(drawer_);
    sides_->setChildrenCollapsible(false);
    sides_->setStretchFactor(0, 3);
    sides_->setStretchFactor(1, 2);
    halves_->addWidget(sides_);
    halves_->addWidget(history_);
    halves_->setStretchFactor(0, 4);
    halves_->setStretchFactor(1, 1);
    return halves_;
}

QWidget* WorkbenchWindow::makeViews() {
    views_ = new QTabWidget;
    views_->setObjectName("views");
    views_->setAccessibleName("Views");
    views_->setDocumentMode(true);
    views_->addTab(new PanelView(routing_), "&Panel");
    views_->addTab(new GridView(routing_), "&Grid");
    views_->addTab(new SalvosView(routing_), "&Salvos");
    views_->addTab(makeAttributes(), "As the &host sees it");
    return views_;
}

QWidget* WorkbenchWindow::makeAttributes() {
    attributesTable_ =
        new AttributesTable(session_.attributes(),
                            [this](const std::string& name, const std::string& value) { routing_.route(name, value); });
    attributesTable_->setObjectName("attributesTable");
    session_.setSeen([this] {
        return attributesTable_->isVisible() ? attributesTable_->seenNames() : session_.attributes().names();
    });
    auto* const page = new QWidget;
    auto* const rows = new QVBoxLayout(page);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->addWidget(attributesTable_, 1);
    rows->addWidget(notice_);
    page->setFocusProxy(attributesTable_);
    return page;
}

QWidget* WorkbenchWindow::makeSettings() {
    auto* const pane = new QGroupBox("Plugin settings");
    auto* const rows = new QVBoxLayout(pane);
    if (settingsView_ != nullptr) {
        rows->setContentsMargins(0, 0, 0, 0);  // it has margins of its own
        rows->addWidget(settingsView_);
        return pane;
    }
    auto* const none = newLabel("noSettingsViewLabel");
    none->setText("The plugin has no settings view.");
    rows->addWidget(none);
    return pane;
}

// Showing the session.

void WorkbenchWindow::sessionHasChanged() {
    const bool isStarted = session_.isStarted();
    menu_->showState(isStarted);
    for (QPushButton* const button : startedButtons_) {
        button->setEnabled(isStarted);
    }
    say(*outcome_, session_.timedOutcome());
    say(*standstill_, session_.lastStandstill());
    const QString notice = session_.lastNotice();
    notice_->setText(notice.isEmpty() ? "No change notice yet" : notice);
    age_->setText(session_.age());
    showSituation();
    showBanners();
    showDoubts();
    if (session_.canAsk()) return;
    attributesTable_->closeValues();
    // At once, because the plugin may wait for the server before the event loop paints.
    connection_->repaint();
}

void WorkbenchWindow::showSituation() {
    if (awaiting_ > 0) return;
    connection_->show(session_.situation());
    if (!session_.hasServer()) {
        say(*hint_,
            "1. Pick a switch server in the settings (F4), also where one is shown there already.\n"
            "2. Add the outputs that you want to route.");
    } else {
        say(*hint_, session_.hasOutputs() ? QString() : "Add the outputs that you want to route in the settings (F4).");
    }
}

void WorkbenchWindow::showBanners() {
    armed_->say(session_.isArmed()
                    ? QString("DEFAULTS ARMED: each connection, also after a mere restart of the server, routes all %1 "
                              "destinations to their defaults. The settings are locked meanwhile.")
                          .arg(session_.attributes().rowCount())
                    : QString());
    // To pick a server there connects, too.
    if (settingsView_ != nullptr) settingsView_->setEnabled(!session_.isArmed());
    const Edits edits = session_.edits();
    if (edits.labels != editedLabels_) {
        editedLabels_ = edits.labels;
        for (const std::string& name : session_.attributes().names()) {
            session_.attributes().setMark(name, AttributesModel::edited,
                                          editedLabels_.contains(session_.displayName(name)));
        }
    }
    if (edits.count == 0) {
        edited_->say({});
        return;
    }
    const QString more = edits.count > 1 ? QString(" (%1 outputs in all)").arg(edits.count) : QString();
    edited_->say("EDITED, NOT APPLIED: " + edits.example + more + '.');
}

void WorkbenchWindow::showDoubts() {
    say(*doubts_, document_.doubts());
}

void WorkbenchWindow::serverWillBeAwaited(const QString& what) {
    if (awaiting_++ > 0) return;
    QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    connection_->showWaiting(what);
}

void WorkbenchWindow::serverWasAwaited() {
    if (--awaiting_ > 0) return;
    QGuiApplication::restoreOverrideCursor();
    showSituation();
}

void WorkbenchWindow::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    QWidget* const first =
        session_.hasServer() || settingsView_ == nullptr ? views_->currentWidget() : settingsView_.data();
    if (focusWidget() == nullptr) first->setFocus();
}

void WorkbenchWindow::resizeEvent(QResizeEvent* event) {
    arrangeForWidth(event->size().width());
    QWidget::resizeEvent(event);
}

void WorkbenchWindow::arrangeForWidth(int width) {
    const bool isNarrow = width < kNarrow;
    sides_->setOrientation(isNarrow ? Qt::Vertical : Qt::Horizontal);
    topRow_->setDirection(width < kNarrowTopRow ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight);
}

DictionaryReference WorkbenchWindow::arrangement() const {
    auto arrangement = makeDictionary();
    arrangement->emplace(kGeometryKey, saveGeometry().toBase64().toStdString());
    arrangement->emplace(kViewKey, views_->currentIndex());
    return arrangement;
}

void WorkbenchWindow::arrange(const DictionaryReference& arrangement) {
    restoreGeometry(
        QByteArray::fromBase64(QByteArray::fromStdString(textForKey(arrangement, kGeometryKey).value_or(""))));
    views_->setCurrentIndex(intForKey(arrangement, kViewKey));
}

// What connects anew.

void WorkbenchWindow::reconnect() {
    const QScopedValueRollback asking(isAsking_, true);
    if (session_.isArmed() && !dialogs_.mayRouteDefaults("Reconnect", session_.attributes().rowCount())) return;
    session_.reconnect();
}

void WorkbenchWindow::startWithDefaults() {
    const QScopedValueRollback asking(isAsking_, true);
    if (dialogs_.mayStartWithDefaults()) session_.start(true);
}

void WorkbenchWindow::disarm() {
    const QScopedValueRollback asking(isAsking_, true);
    if (dialogs_.mayDisarm(session_.costOfConnecting())) session_.disarm();
}

void WorkbenchWindow::apply() {
    endEditing();
    if (session_.isArmed()) {
        disarm();  // it builds the attributes, too
    } else {
        session_.reconnect();
    }
}

}  // namespace velmora
