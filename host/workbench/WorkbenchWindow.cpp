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
#include "host/workbench/LinesLabel.h"
#include "host/workbench/NoticeStrip.h"
#include "host/workbench/Obstacle.h"
#include "host/workbench/Words.h"
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

}  // namespace

WorkbenchWindow::WorkbenchWindow(PluginHost& host, SettingsFile& settingsFile)
    : session_(host, *this),
      routing_(session_),
      dialogs_(*this),
      document_(settingsFile, session_, dialogs_),
      settingsView_(host.plugin().settingsView()),
      connection_(new ConnectionBar),
      age_(newLabel("ageLabel")),
      notices_(new NoticeStrip([this] { disarm(); }, [this] { apply(); })),
      outcome_(new LinesLabel("outcomeLabel", 1)),
      notice_(newLabel("changeNoticeLabel")),
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
    rows->addWidget(notices_);
    rows->addWidget(makePanes(), 1);
    rows->addWidget(outcome_);
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
    auto* const poll = new QCheckBox(Words::tr("every 2 s"));
    poll->setObjectName("pollBox");
    showFrame(*poll);
    poll->setToolTip(Words::tr("Ask the device for what can be seen, while nothing else goes on"));
    connect(poll, &QCheckBox::toggled, menu_->action("pollAction"), &QAction::setChecked);
    connect(menu_->action("pollAction"), &QAction::toggled, poll, &QCheckBox::setChecked);
    values->addWidget(poll);
    topRow_->addLayout(values);
    auto* const buttons = new QHBoxLayout;
    const auto add = [&](const char* name, const QString& text, const char* action, const QString& toolTip) {
        auto* const button = new QPushButton(text);
        button->setObjectName(name);
        button->setWhatsThis(toolTip);
        showObstacle(*button, {});
        button->setAutoDefault(false);
        connect(button, &QPushButton::clicked, menu_->action(action), &QAction::trigger);
        buttons->addWidget(button);
        return button;
    };
    refresh_ = add("refreshButton", Words::tr("Refresh"), "refreshAction",
                   Words::tr("Ask the device for all current values (F5)"));
    reconnect_ = add("reconnectButton", Words::tr("Reconnect"), "reconnectAction",
                     Words::tr("Hand the plugin its settings once more, so that it connects anew (Ctrl+R)"));
    auto* const settings =
        add("settingsButton", Words::tr("Settings"), "settingsAction", Words::tr("The plugin's settings (F4)"));
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
    views_->setAccessibleName(Words::tr("Views"));
    views_->setDocumentMode(true);
    views_->addTab(new PanelView(routing_), Words::tr("&Panel"));
    views_->addTab(new GridView(routing_), Words::tr("&Grid"));
    views_->addTab(new SalvosView(routing_), Words::tr("&Salvos"));
    views_->addTab(makeAttributes(), Words::tr("As the &host sees it"));
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
    auto* const pane = new QGroupBox(Words::tr("Plugin settings"));
    auto* const rows = new QVBoxLayout(pane);
    if (settingsView_ != nullptr) {
        rows->setContentsMargins(0, 0, 0, 0);  // it has margins of its own
        rows->addWidget(settingsView_);
        return pane;
    }
    auto* const none = newLabel("noSettingsViewLabel");
    none->setText(Words::tr("The plugin has no settings view."));
    rows->addWidget(none);
    return pane;
}

// Showing the session.

void WorkbenchWindow::sessionHasChanged() {
    menu_->showState(session_.isStarted(), session_.canAsk());
    showObstacle(*refresh_, session_.obstacle());
    showObstacle(*reconnect_, session_.isStarted() ? QString() : session_.obstacle());
    outcome_->say(session_.timedOutcome());
    const QString notice = session_.lastNotice();
    notice_->setText(notice.isEmpty() ? Words::tr("No change notice yet") : notice);
    showSituation();
    showNotices();
    if (session_.canAsk()) return;
    attributesTable_->closeValues();
    routing_.giveUp();
    // At once, because the plugin may wait for the server before the event loop paints.
    connection_->repaint();
}

void WorkbenchWindow::showSituation() {
    if (awaiting_ > 0) return;
    connection_->show(session_.situation());
}

QString WorkbenchWindow::hintText() const {
    if (!session_.hasServer())
        return Words::tr("1. Pick a switch server in the settings (F4), also where one is shown there already.") +
               '\n' + Words::tr("2. Add the outputs that you want to route.");
    return session_.hasOutputs() ? QString()
                                 : Words::tr("Add the outputs that you want to route in the settings (F4).");
}

QString WorkbenchWindow::armedText() {
    if (!session_.isArmed()) return {};
    return Words::tr(
        "DEFAULTS ARMED: each connection, also after a mere restart of the server, routes all %n destinations to their "
        "defaults. The settings are locked meanwhile.",
        nullptr, session_.attributes().rowCount());
}

QString WorkbenchWindow::editedText(const Edits& edits) {
    if (edits.count == 0) return {};
    if (edits.count == 1) return Words::tr("EDITED, NOT APPLIED: %1.").arg(edits.example);
    return Words::tr("EDITED, NOT APPLIED: %1 (%n outputs in all).", nullptr, static_cast<int>(edits.count))
        .arg(edits.example);
}

void WorkbenchWindow::showNotices() {
    const Edits edits = session_.edits();
    markEdited(edits);
    // To pick a server there connects, too.
    if (settingsView_ != nullptr) settingsView_->setEnabled(!session_.isArmed());
    age_->setText(session_.age());
    notices_->show({armedText(), editedText(edits), hintText(), document_.doubts(), session_.lastStandstill()});
}

void WorkbenchWindow::markEdited(const Edits& edits) {
    if (edits.labels == editedLabels_) return;
    editedLabels_ = edits.labels;
    for (const std::string& name : session_.attributes().names()) {
        session_.attributes().setMark(name, AttributesModel::edited,
                                      editedLabels_.contains(session_.displayName(name)));
    }
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
    const bool isNarrowTopRow = width < kNarrowTopRow;
    topRow_->setDirection(isNarrowTopRow ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight);
    outcome_->setLines(isNarrowTopRow ? 2 : 1);
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
    if (session_.isArmed() &&
        !dialogs_.mayRouteDefaults(Words::tr("Reconnect although the plugin is started with defaults?"),
                                   session_.attributes().rowCount()))
        return;
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
