#include "settings/SettingsView.h"

#include <dlfcn.h>

#include <QApplication>
#include <QBuffer>
#include <QLabel>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QUiLoader>
#include <memory>

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

// Qt's interface loader registers types with Qt that are never taken back, so its library must not leave memory with
// the bundle: the next look at those types, at the latest when the bundle is loaded again, would be the end of the
// host.
void keepInterfaceLoaderInMemory() {
    Dl_info library{};
    if (dladdr(&QUiLoader::staticMetaObject, &library) == 0) return;
    // Counted no further than once, whatever the number of calls: it stays in any case.
    dlopen(library.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
}

template <typename Widget>
bool findWidget(const QWidget& root, const char* name, Widget*& widget) {
    widget = dynamic_cast<Widget*>(root.findChild<QWidget*>(name));
    return widget != nullptr;
}

}  // namespace

SettingsView::SettingsView(QWidget* parent) : QWidget(parent) {}

SettingsView::~SettingsView() {
    detach();
    // While this is still a settings view: a widget's last signals come back here.
    qDeleteAll(findChildren<QWidget*>(Qt::FindDirectChildrenOnly));
}

void SettingsView::load(SwitchSettingsViewController& controller, const std::string& nibName, const NSBundle* bundle) {
    if (qobject_cast<QApplication*>(QCoreApplication::instance()) == nullptr) {
        NSLog("No settings view, because the host has no window system (Velmora Switch Plugin)");
        return;
    }
    const auto path = bundle != nullptr ? bundle->pathForResource(nibName, "ui") : std::nullopt;
    if (!path) {
        NSLog("No settings view, because the bundle has no interface file \"%@\" (Velmora Switch Plugin)", nibName);
        return;
    }
    keepInterfaceLoaderInMemory();
    constexpr std::size_t kInterfaceByteLimit = 1024 * 1024;
    const Result<std::string> contents = readFile(*path, kInterfaceByteLimit);
    QBuffer file;
    if (contents) file.setData(contents->data(), static_cast<qsizetype>(contents->size()));
    file.open(QIODevice::ReadOnly);
    InterfaceLoader loader;
    std::unique_ptr<QWidget> root(contents ? loader.load(&file) : nullptr);
    auto* const view = dynamic_cast<SettingsView*>(root.get());
    if (view == nullptr) {
        NSLog("No settings view, because %@ cannot be read: %@ (Velmora Switch Plugin)", path->string(),
              contents ? loader.errorString().toStdString() : contents.failure().reason);
    } else if (const char* const missing = view->connectWidgets()) {
        NSLog("No settings view, because %@ has no \"%@\" (Velmora Switch Plugin)", path->string(), missing);
    } else {
        static_cast<void>(root.release());  // its own owner from here on
        view->setController(controller);
    }
}

const char* SettingsView::connectWidgets() {
    if (!findWidget(*this, "matrixSwitcherPopUpButton", matrixSwitcherPopUpButton_)) return "matrixSwitcherPopUpButton";
    if (!findWidget(*this, "outputsTableView", outputsTableView_)) return "outputsTableView";
    if (!findWidget(*this, "addRemoveButton", addRemoveButton_)) return "addRemoveButton";
    if (!findWidget(*this, "outputsPopUpButtonMenu", outputsPopUpButtonMenu_)) return "outputsPopUpButtonMenu";
    if (!findWidget(*this, "inputsPopUpButtonMenu", inputsPopUpButtonMenu_)) return "inputsPopUpButtonMenu";
    if (!findWidget(*this, "noticeLabel", notice_)) return "noticeLabel";
    QPushButton* refreshButton = nullptr;
    if (!findWidget(*this, "refreshLabelsButton", refreshButton)) return "refreshLabelsButton";
    if (!addRemoveButton_->connectSegments("addSegment", "removeSegment", [this] { addOrRemove(); }))
        return "addSegment and removeSegment";
    connect(refreshButton, &QPushButton::clicked, this,
            [this] { act(&SwitchSettingsViewController::refreshLabelsButtonPushed); });
    // From the event loop: the host may destroy its window at what the pick leads to, and the list, still busy with the
    // key, does not stand that.
    connect(matrixSwitcherPopUpButton_, &QComboBox::activated, this, [this] {
        const std::string title = matrixSwitcherPopUpButton_->titleOfSelectedItem().value_or("");
        QMetaObject::invokeMethod(
            this, [this, title] { serverWasPicked(title); }, Qt::QueuedConnection);
    });
    return nullptr;
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

void SettingsView::act(void (SwitchSettingsViewController::*action)()) {
    const RunningAction running(*this);
    if (controller_ != nullptr) (controller_->*action)();
}

// Meanwhile the list may have been filled anew, and without what was picked.
void SettingsView::serverWasPicked(const std::string& title) {
    if (!matrixSwitcherPopUpButton_->selectAvailableItemWithTitle(title)) return;
    outputsTableView_->viewport()->update();  // the first pick fills its cells
    updateNotice();
    act(&SwitchSettingsViewController::matrixSwitcherPopUpButtonChanged);
}

void SettingsView::addOrRemove() {
    const RunningAction running(*this);
    outputsTableView_->endEditing();
    if (controller_ != nullptr) controller_->addRemoveButtonPushed(*addRemoveButton_);
}

void SettingsView::runAlertPanel(const std::string& title, const std::string& message, const std::string& button) {
    const OutputsTableModel* const model = outputsTableView_->outputsModel();
    if (model == nullptr || !model->isStoring()) {
        showAlert(title, message, button);
        return;
    }
    // The table is in the midst of closing its editor and does not stand being reloaded or destroyed, as may happen
    // while an alert is open.
    QMetaObject::invokeMethod(
        this, [this, title, message, button] { showAlert(title, message, button); }, Qt::QueuedConnection);
}

void SettingsView::showAlert(const std::string& title, const std::string& message, const std::string& button) {
    const RunningAction running(*this);
    const MainThread::ModeScope mode(NSModalPanelRunLoopMode);
    const QPointer<QMessageBox> box = new QMessageBox(this);
    box->setIcon(QMessageBox::Warning);
    box->setTextFormat(Qt::PlainText);
    box->setWindowTitle(QString::fromStdString(title));
    box->setText(QString::fromStdString(title));
    box->setInformativeText(QString::fromStdString(message));
    box->addButton(QString::fromStdString(button), QMessageBox::AcceptRole);
    box->exec();
    delete box;  // null when the view was destroyed meanwhile
}

void SettingsView::updateNotice() {
    const bool isNeeded =
        controller_ != nullptr && outputsTableView_->model()->rowCount() > 0 && !controller_->isSwitcherSelected();
    notice_->setVisible(isNeeded);
}

}  // namespace velmora
