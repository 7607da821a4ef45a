// The settings view on the screen: the interface file's widgets, and the way from their signals to the controller.
#pragma once

#include <QWidget>
#include <optional>
#include <string>

#include "settings/SettingsControls.h"

class QLabel;

namespace velmora {

class AddRemoveControl;
class MenuPopUp;
class NSBundle;
class OutputsTable;
class SwitcherPopUpButton;
class SwitchSettingsViewController;

// The root widget of the interface file. The controller owns it; a host that puts it into a window of its own and
// destroys that window destroys it, too. Each side tells the other when it goes, whichever is first.
class SettingsView final : public QWidget, public AlertPanel {
  public:
    // Loads the bundle's interface file of that name, hands its controls to the controller and awakes it. Says in the
    // log why it cannot.
    static void load(SwitchSettingsViewController& controller, const std::string& nibName, const NSBundle* bundle);

    explicit SettingsView(QWidget* parent);
    ~SettingsView() override;

    // Destroys the view: at once, or, while one of the controller's operations is still running, when the event loop
    // next runs.
    void controllerGoesAway();

    void runAlertPanel(const std::string& title, const std::string& message, const std::string& button) override;

  private:
    class RunningAction;

    // Finds the widgets by their names and connects their signals. The name of what is missing, or null.
    const char* connectWidgets();
    void setController(SwitchSettingsViewController& controller);
    void detach();
    void act(void (SwitchSettingsViewController::*action)());
    void addOrRemove();
    struct Alert {
        std::string title;
        std::string message;
        std::string button;
    };
    void showAlert(const Alert& alert);
    // Complains of the edit that was refused last, if that has not been done, then reloads the table. The view, and
    // what it belongs to, may be gone behind it: false then.
    bool showPendingAlert();
    void serverWasPicked(const std::string& title);
    void updateNotice();

    SwitchSettingsViewController* controller_ = nullptr;  // null before it is set and once it is gone
    SwitcherPopUpButton* matrixSwitcherPopUpButton_ = nullptr;
    OutputsTable* outputsTableView_ = nullptr;
    AddRemoveControl* addRemoveButton_ = nullptr;
    MenuPopUp* outputsPopUpButtonMenu_ = nullptr;
    MenuPopUp* inputsPopUpButtonMenu_ = nullptr;
    QLabel* notice_ = nullptr;
    std::optional<Alert> pendingAlert_;
    int runningActions_ = 0;
};

}  // namespace velmora
