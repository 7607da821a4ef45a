#include "settings/SettingsView.h"

#include <QApplication>
#include <QBuffer>
#include <QGridLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QUiLoader>
#include <algorithm>
#include <memory>
#include <type_traits>
#include <utility>

#include "platform/foundation/FileContents.h"
#include "platform/foundation/NSBundle.h"
#include "platform/foundation/NSLog.h"
#include "platform/threads/MainThread.h"
#include "settings/AddRemoveControl.h"
#include "settings/MenuPopUp.h"
#include "settings/OutputsTable.h"
#include "settings/OutputsTableModel.h"
#include "settings/SwitchSettingsViewController.h"
#include "settings/SwitcherPopUpButton.h"

namespace velmora {

namespace {

// Makes the widgets that the interface file promotes to classes of this folder.
class InterfaceLoader final : public QUiLoader {
  public:
    QWidget* createWidget(const QString& className, QWidget* parent, const QString& name) override {
        QWidget* const widget = createOwnWidget(className, parent);
        if (widget == nullptr) return QUiLoader::createWidget(className, parent, name);
        widget->setObjectName(name);
        return widget;
    }

  private:
    static QWidget* createOwnWidget(const QString& className, QWidget* parent) {
        if (className == "velmora::SettingsView") return new SettingsView(parent);
        if (className == "velmora::SwitcherPopUpButton") return new SwitcherPopUpButton(parent);
        if (className == "velmora::OutputsTable") return new OutputsTable(parent);
        if (className == "velmora::AddRemoveControl") return new AddRemoveControl(parent);
        if (className == "velmora::MenuPopUp") return new MenuPopUp(parent);
        return nullptr;
    }
};

// Left to itself, an alert is as narrow as its text, and the window system cuts its title.
void widenForTitle(QMessageBox& box) {
    constexpr int kLeastWidth = 320;
    constexpr int kButtonsOfTitleBar = 140;
    const int title = box.fontMetrics().horizontalAdvance(box.windowTitle()) + kButtonsOfTitleBar;
    auto* const grid = qobject_cast<QGridLayout*>(box.layout());
    if (grid == nullptr) return;
    auto* const spacer = new QSpacerItem(std::max(kLeastWidth, title), 0, QSizePolicy::Minimum, QSizePolicy::Fixed);
    grid->addItem(spacer, grid->rowCount(), 0, 1, grid->columnCount());
}

}  // namespace

SettingsView::SettingsView(QWidget* parent) : QWidget(parent) {}

SettingsView::~SettingsView() {
    detach();
    // As long as this is a settings view: the last signals of a widget come back here.
    qDeleteAll(findChildren<QWidget*>(Qt::FindDirectChildrenOnly));
}

void SettingsView::load(SwitchSettingsViewController& controller, const std::string& nibName, const NSBundle* bundle) {
    if (const auto view = make(nibName, bundle)) {
        (*view)->setController(controller);
    } else {
        NSLog("No settings view, because %@ (Velmora Switch Plugin)", view.failure().reason);
    }
}

Result<SettingsView*> SettingsView::make(const std::string& nibName, const NSBundle* bundle) {
    if (qobject_cast<QApplication*>(QCoreApplication::instance()) == nullptr) {
        return Failure{"the host has no window system"};
    }
    const auto path = bundle != nullptr ? bundle->pathForResource(nibName, "ui") : std::nullopt;
    if (!path) return Failure{stringWithFormat("the bundle has no interface file \"%@\"", nibName)};
    constexpr std::size_t kInterfaceByteLimit = 1024 * 1024;
    const Result<std::string> contents = readFile(*path, kInterfaceByteLimit);
    QBuffer file;
    if (contents) file.setData(QByteArray::fromStdString(*contents));
    file.open(QIODevice::ReadOnly);
    InterfaceLoader loader;
    std::unique_ptr<QWidget> root(contents ? loader.load(&file) : nullptr);
    auto* const view = dynamic_cast<SettingsView*>(root.get());
    if (view == nullptr) {
        return Failure{stringWithFormat("%@ cannot be read: %@", path->string(),
                                        contents ? loader.errorString().toStdString() : contents.failure().reason)};
    }
    const Result<void> connected = view->connectWidgets();
    if (!connected) return Failure{stringWithFormat("%@ has no \"%@\"", path->string(), connected.failure().reason)};
    static_cast<void>(root.release());  // its own owner from here on
    return view;
}

Result<void> SettingsView::connectWidgets() {
    Result<void> result;
    const auto find = [&](const char* name, auto*& widget) {
        widget = dynamic_cast<std::remove_reference_t<decltype(widget)>>(findChild<QWidget*>(name));
        if (widget == nullptr) result = Failure{name};
    };
    QPushButton* refreshButton = nullptr;
    find("matrixSwitcherPopUpButton", matrixSwitcherPopUpButton_);
    find("outputsTableView", outputsTableView_);
    find("addRemoveButton", addRemoveButton_);
    find("outputsPopUpButtonMenu", outputsPopUpButtonMenu_);
    find("inputsPopUpButtonMenu", inputsPopUpButtonMenu_);
    find("noticeLabel", notice_);
    find("refreshLabelsButton", refreshButton);
    if (!result) return result;
    if (!addRemoveButton_->connectSegments("addSegment", "removeSegment", [this] { addOrRemove(); })) {
        return Failure{"addSegment and removeSegment"};
    }
    connect(refreshButton, &QPushButton::clicked, this,
            [this] { act(&SwitchSettingsViewController::refreshLabelsButtonPushed); });
    // Works around Qt 6.4: the list is still busy with the key that picked and must not be destroyed meanwhile, which
    // the host may do with its window at what the pick leads to. So it is acted on from the event loop.
    connect(matrixSwitcherPopUpButton_, &QComboBox::activated, this, [this] {
        const std::string title = matrixSwitcherPopUpButton_->titleOfSelectedItem().value_or("");
        QMetaObject::invokeMethod(
            this, [this, title] { serverWasPicked(title); }, Qt::QueuedConnection);
    });
    return {};
}

void SettingsView::setController(SwitchSettingsViewController& controller) {
    controller_ = &controller;
    outputsTableView_->attach(controller, *outputsPopUpButtonMenu_, *inputsPopUpButtonMenu_);
    connect(outputsTableView_->model(), &QAbstractItemModel::modelReset, this, &SettingsView::updateNotice);
    connect(outputsTableView_->model(), &QAbstractItemModel::dataChanged, this, &SettingsView::updateNotice);
    controller.view_ = this;
    controller.setOutlets({matrixSwitcherPopUpButton_, outputsTableView_, addRemoveButton_, outputsPopUpButtonMenu_,
                           inputsPopUpButtonMenu_, this});
    controller.awakeFromNib();
}

void SettingsView::detach() {
    if (controller_ == nullptr) return;
    controller_->setOutlets({});
    controller_->view_ = nullptr;
    controller_ = nullptr;
    outputsTableView_->detach();
}

void SettingsView::controllerGoesAway() {
    detach();
    hide();
    setParent(nullptr);
    for (QMessageBox* const alert : findChildren<QMessageBox*>()) {
        alert->reject();
    }
    if (runningActions_ == 0) delete this;
}

// Counts an operation that may release the controller or destroy the view before it returns.
class SettingsView::RunningAction {
  public:
    explicit RunningAction(SettingsView& view) : view_(&view) { ++view.runningActions_; }
    RunningAction(const RunningAction&) = delete;
    RunningAction& operator=(const RunningAction&) = delete;
    ~RunningAction() {
        if (view_ != nullptr && --view_->runningActions_ == 0 && view_->controller_ == nullptr) view_->deleteLater();
    }

  private:
    const QPointer<SettingsView> view_;
};

// While the plugin may wait for the switch server, which no event loop shows: what has been pushed is painted first.
class SettingsView::Waiting {
  public:
    explicit Waiting(SettingsView& view) : view_(&view) {
        QGuiApplication::setOverrideCursor(Qt::WaitCursor);
        view.outputsTableView_->setPaintsAtOnce(true);
        view.repaint();
    }
    Waiting(const Waiting&) = delete;
    Waiting& operator=(const Waiting&) = delete;
    ~Waiting() {
        QGuiApplication::restoreOverrideCursor();
        if (view_ != nullptr) view_->outputsTableView_->setPaintsAtOnce(false);
    }

  private:
    const QPointer<SettingsView> view_;
};

void SettingsView::act(void (SwitchSettingsViewController::*action)()) {
    const RunningAction running(*this);
    if (!showPendingAlert()) return;
    const Waiting waiting(*this);
    (controller_->*action)();
}

// By now the list may have been filled anew, without the server that was picked.
void SettingsView::serverWasPicked(const std::string& title) {
    if (!matrixSwitcherPopUpButton_->selectAvailableItemWithTitle(title)) return;
    outputsTableView_->viewport()->update();  // the first pick fills its cells
    updateNotice();
    act(&SwitchSettingsViewController::matrixSwitcherPopUpButtonChanged);
}

void SettingsView::addOrRemove() {
    const RunningAction running(*this);
    outputsTableView_->endEditing();
    if (!showPendingAlert()) return;
    const QPointer<SettingsView> self = this;
    const QWidget* const pushed = focusWidget();
    {
        const Waiting waiting(*this);
        controller_->addRemoveButtonPushed(*addRemoveButton_);
    }
    // Once there is nothing left to remove, the next key goes to the table and does not add.
    if (!self || controller_ == nullptr) return;
    if (focusWidget() != pushed && addRemoveButton_->isAncestorOf(focusWidget())) outputsTableView_->setFocus();
}

void SettingsView::runAlertPanel(const std::string& title, const std::string& message, const std::string& button) {
    const OutputsTableModel* const model = outputsTableView_->outputsModel();
    if (model == nullptr || !model->isStoring()) {
        showAlert({title, message, button});
        return;
    }
    // Works around Qt 6.4: the table is closing its editor and must not be reloaded or destroyed meanwhile, which may
    // happen while an alert is open. So the alert is opened from the event loop.
    pendingAlert_ = {title, message, button};
    QMetaObject::invokeMethod(this, &SettingsView::showPendingAlert, Qt::QueuedConnection);
}

bool SettingsView::showPendingAlert() {
    const QPointer<SettingsView> self = this;
    const auto alert = std::exchange(pendingAlert_, std::nullopt);
    if (alert && controller_ != nullptr) {
        showAlert(*alert);
        if (self && controller_ != nullptr) outputsTableView_->reloadData();
    }
    return self && controller_ != nullptr;
}

void SettingsView::showAlert(const Alert& alert) {
    const RunningAction running(*this);
    const MainThread::ModeScope mode(NSModalPanelRunLoopMode);
    const QPointer<QMessageBox> box = new QMessageBox(this);
    box->setIcon(QMessageBox::Warning);
    box->setTextFormat(Qt::PlainText);
    box->setWindowTitle(QString::fromStdString(alert.title));
    box->setText(QString::fromStdString(alert.title));
    box->setInformativeText(QString::fromStdString(alert.message));
    box->addButton(QString::fromStdString(alert.button), QMessageBox::AcceptRole);
    widenForTitle(*box);
    QGuiApplication::setOverrideCursor(Qt::ArrowCursor);  // the person is waited for, not the server
    box->exec();
    QGuiApplication::restoreOverrideCursor();
    delete box;  // null when the view was destroyed meanwhile
}

void SettingsView::updateNotice() {
    const bool isNeeded =
        controller_ != nullptr && outputsTableView_->model()->rowCount() > 0 && !controller_->isSwitcherSelected();
    notice_->setVisible(isNeeded);
}

}  // namespace velmora
