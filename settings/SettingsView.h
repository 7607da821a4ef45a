// The settings view on the screen: the widgets of the interface file, and the way from their signals to the controller.
#pragma once

#include <QWidget>
#include <optional>
#include <string>

#include "platform/foundation/Result.h"
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
    // Loads the bundle's interface file of that name, hands its controls to the controller and awakes it. Where it
    // cannot, the log says why.
    static void load(SwitchSettingsViewController& controller, const std::string& nibName, const NSBundle* bundle);

    explicit SettingsView(QWidget* parent);
    ~SettingsView() override;

    // Destroys the view: at once, or, while one of the controller's operations is still running, when the event loop
    // next runs.
    void controllerGoesAway();

    void runAlertPanel(const std::string& title, const std::string& message, const std::string& button) override;

  private:
    class RunningAction;
    class Waiting;

    // From the interface file, not yet the controller's; it owns itself.
    static Result<SettingsView*> make(const std::string& nibName, const NSBundle* bundle);
    // Finds the widgets by their names and connects their signals. The failure is the name of a missing one.
    Result<void> connectWidgets();
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
    // Shows the alert about the edit that was refused last, if it is still to be shown, then reloads the table. False
    // when the view or its controller has gone meanwhile.
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
