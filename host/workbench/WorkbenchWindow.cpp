#include "host/workbench/WorkbenchWindow.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QGroupBox>
#include <QGuiApplication>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QScreen>
#include <QShortcut>
#include <QSplitter>
#include <QTabWidget>
#include <QVBoxLayout>

#include "host/workbench/AttributesTable.h"
#include "host/workbench/grid/GridView.h"
#include "host/workbench/panel/PanelView.h"
#include "host/workbench/salvos/SalvosView.h"
#include "platform/widgets/DisplayText.h"

namespace velmora {

namespace {

constexpr QSize kUsualSize(1120, 720);
// In a narrower window, what is otherwise side by side goes one below the other.
constexpr int kNarrow = 900;
constexpr int kLogLines = 2000;
constexpr std::chrono::milliseconds kDocumentWatch{500};
constexpr const char* kWaiting = "Waiting for the device\u2026";

QLabel* newLabel(const char* name) {
    auto* const label = new QLabel;
    label->setObjectName(name);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

QGroupBox* newPane(const char* title, QWidget* contents, int margin = 6) {
    auto* const pane = new QGroupBox(title);
    auto* const rows = new QVBoxLayout(pane);
    rows->setContentsMargins(margin, margin, margin, margin);
    rows->addWidget(contents);
    return pane;
}

}  // namespace

WorkbenchWindow::WorkbenchWindow(PluginHost& host, SettingsFile& settingsFile)
    : logFeed_([this](const LogFeed::Lines& lines) { showLog(lines); }),
      session_(host, *this),
      routing_(session_),
      dialogs_(*this),
      document_(settingsFile, session_, dialogs_),
      settingsView_(host.plugin().settingsView()),
      situation_(newLabel("situationLabel")),
      outcome_(newLabel("outcomeLabel")),
      notice_(newLabel("noticeLabel")),
      doubts_(newLabel("doubtsLabel")),
      log_(new QPlainTextEdit),
      sides_(new QSplitter) {
    QFont bold = font();
    bold.setBold(true);
    situation_->setFont(bold);
    auto* const rows = new QVBoxLayout(this);
    rows->addLayout(makeButtons());
    rows->addWidget(situation_);
    rows->addWidget(outcome_);
    rows->addWidget(notice_);
    rows->addWidget(doubts_);
    rows->addWidget(makePanes(), 1);

    connect(&documentWatch_, &QTimer::timeout, this, &WorkbenchWindow::showDocument);
    documentWatch_.start(kDocumentWatch);
    const QSize size = kUsualSize.boundedTo(screen()->availableSize());
    arrangeForWidth(size.width());  // first, because no window gets narrower than its contents
    resize(size);
    showDocument();
    sessionHasChanged();
}

WorkbenchWindow::~WorkbenchWindow() {
    if (settingsView_ == nullptr) return;
    settingsView_->hide();
    settingsView_->setParent(nullptr);
}

QBoxLayout* WorkbenchWindow::makeButtons() {
    auto* row = new QHBoxLayout;
    buttonRows_ = new QHBoxLayout;
    buttonRows_->addLayout(row);
    const auto add = [&](const char* name, const char* text, const QString& toolTip, const auto& action) {
        auto* const button = new QPushButton(text);
        button->setObjectName(name);
        button->setAccessibleName(QString(text).remove('&'));
        button->setToolTip(toolTip);
        button->setAutoDefault(false);
        connect(button, &QPushButton::clicked, this, action);
        row->addWidget(button);
        return button;
    };
    stoppedButtons_ = {add("startButton", "Star&t", "Start the plugin; routes are left as they are",
                           [this] { session_.start(false); }),
                       add("startWithDefaultsButton", "Start with &Defaults",
                           QString("Start the plugin; ") + kWhatDefaultsDo, [this] { session_.start(true); })};
    startedButtons_ = {
        add("stopButton", "Sto&p", "Stop the plugin", [this] { session_.stop(); }),
        add("reconnectButton", "Reco&nnect",
            "Hand the plugin its settings once more, so that it connects anew; started with defaults, it then routes "
            "them",
            [this] { session_.reconnect(); })};
    row = new QHBoxLayout;
    buttonRows_->addLayout(row);
    startedButtons_.push_back(add("refreshButton", "Re&fresh Values", "Ask the device for all current values (F5)",
                                  [this] { session_.refresh(); }));
    new QShortcut(QKeySequence::Refresh, startedButtons_.back(),
                  [button = startedButtons_.back()] { button->click(); });
    auto* const load = add("loadButton", "L&oad Settings\u2026", "Hand the plugin the settings of a file (Ctrl+O)",
                           [this] { this->load(); });
    new QShortcut(QKeySequence::Open, load, [load] { load->click(); });
    auto* const save = add("saveButton", "Sa&ve Settings", "Write the plugin's settings to the file (Ctrl+S)",
                           [this] { this->save(); });
    new QShortcut(QKeySequence::Save, save, [save] { save->click(); });
    new QShortcut(QKeySequence::Quit, this, [this] { close(); });
    buttonRows_->addStretch();
    return buttonRows_;
}

QWidget* WorkbenchWindow::makePanes() {
    sides_->addWidget(makeViews());
    sides_->addWidget(makeSettings());
    sides_->setChildrenCollapsible(false);
    sides_->setStretchFactor(0, 3);
    sides_->setStretchFactor(1, 2);
    auto* const halves = new QSplitter(Qt::Vertical);
    halves->addWidget(sides_);
    halves->addWidget(makeLog());
    halves->setStretchFactor(0, 4);
    halves->setStretchFactor(1, 1);
    return halves;
}

QWidget* WorkbenchWindow::makeViews() {
    views_ = new QTabWidget;
    views_->setObjectName("views");
    views_->setAccessibleName("Views");
    views_->setDocumentMode(true);
    views_->addTab(new PanelView(routing_), "&Panel");
    views_->addTab(new GridView(routing_), "&Grid");
    views_->addTab(new SalvosView(routing_), "Sal&vos");
    views_->addTab(makeAttributes(), "As the &host sees it");
    return views_;
}

QWidget* WorkbenchWindow::makeAttributes() {
    attributesTable_ = new AttributesTable(
        session_.attributes(),
        [this](const std::string& name, const std::string& value) { routing_.route(name, value); });
    attributesTable_->setObjectName("attributesTable");
    return attributesTable_;
}

QWidget* WorkbenchWindow::makeSettings() {
    if (settingsView_ != nullptr) return newPane("Plugin settings", settingsView_, 0 /* it has margins of its own */);
    auto* const none = newLabel("noSettingsViewLabel");
    none->setText("The plugin has no settings view.");
    return newPane("Plugin settings", none);
}

QWidget* WorkbenchWindow::makeLog() {
    log_->setObjectName("logView");
    log_->setAccessibleName("Log");
    log_->setReadOnly(true);
    log_->setTabChangesFocus(true);
    log_->setLineWrapMode(QPlainTextEdit::NoWrap);
    log_->setMaximumBlockCount(kLogLines);
    return newPane("Lo&g", log_);
}

// Showing the session.

void WorkbenchWindow::sessionHasChanged() {
    const bool isStarted = session_.isStarted();
    for (QPushButton* const button : stoppedButtons_) {
        button->setEnabled(!isStarted);
    }
    for (QPushButton* const button : startedButtons_) {
        button->setEnabled(isStarted);
    }
    outcome_->setText(session_.outcome());
    const QString notice = session_.lastNotice();
    notice_->setText(notice.isEmpty() ? "No change notice yet" : notice);
    showSituation();
    showDoubts();
    if (session_.canAsk()) return;
    attributesTable_->closeValues();
    // At once, because the plugin may wait for the server before the event loop paints.
    situation_->repaint();
}

void WorkbenchWindow::showSituation() {
    situation_->setText(awaiting_ > 0 ? kWaiting : session_.situation());
}

void WorkbenchWindow::serverWillBeAwaited() {
    if (awaiting_++ > 0) return;
    QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    showSituation();
    situation_->repaint();  // at once, because the event loop does not run before the answer is there
}

void WorkbenchWindow::serverWasAwaited() {
    if (--awaiting_ > 0) return;
    QGuiApplication::restoreOverrideCursor();
    showSituation();
}

void WorkbenchWindow::showLog(const LogFeed::Lines& lines) {
    for (const std::string& line : lines) {
        log_->appendPlainText(displayText(line));
    }
}

void WorkbenchWindow::resizeEvent(QResizeEvent* event) {
    arrangeForWidth(event->size().width());
    QWidget::resizeEvent(event);
}

void WorkbenchWindow::arrangeForWidth(int width) {
    const bool isNarrow = width < kNarrow;
    sides_->setOrientation(isNarrow ? Qt::Vertical : Qt::Horizontal);
    buttonRows_->setDirection(isNarrow ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight);
}

// The settings as a document.

void WorkbenchWindow::showDocument() {
    const QString file = document_.path() ? displayText(document_.path()->filename().string()) : "Untitled settings";
    setWindowTitle(QString(file).replace("[*]", "[*][*]") + "[*] \u2013 Velmora Workbench");
    setWindowModified(document_.isUnsaved());
    showDoubts();
}

void WorkbenchWindow::showDoubts() {
    const QString doubts = document_.doubts();
    doubts_->setVisible(!doubts.isEmpty());
    doubts_->setText(doubts);
}

// Takes over what is being typed. The plugin's view may object to it, and must do so while there is a window.
void WorkbenchWindow::endEditing() {
    if (const QPointer<QWidget> field = focusWidget()) {
        field->clearFocus();
        QWidget* const next = field == nullptr || field->isVisible() ? field.data() : field->parentWidget();
        if (next != nullptr) next->setFocus();
    }
    if (settingsView_ != nullptr) QCoreApplication::sendPostedEvents(settingsView_, QEvent::MetaCall);
}

void WorkbenchWindow::load() {
    const QScopedValueRollback asking(isAsking_, true);
    endEditing();
    document_.load();
    showDocument();
}

void WorkbenchWindow::save() {
    const QScopedValueRollback asking(isAsking_, true);
    endEditing();
    session_.setOutcome(document_.save()
                            ? "The settings are saved in " + quotedName(document_.path()->filename().string()) + '.'
                            : "The settings were not saved.");
    showDocument();
}

void WorkbenchWindow::closeEvent(QCloseEvent* event) {
    if (isAsking_) {
        event->ignore();
        return;
    }
    const QScopedValueRollback asking(isAsking_, true);
    endEditing();
    const bool mayClose = document_.mayLetGo();
    if (mayClose) document_.discardChanges();
    event->setAccepted(mayClose);
}

}  // namespace velmora
