// The plugin's settings view: the rules of choosing a switch server and of editing the configured outputs. The controls
// are in SettingsView.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/NSBundle.h"
#include "platform/foundation/NSObject.h"
#include "platform/foundation/PropertyList.h"
#include "platform/foundation/Text.h"
#include "settings/SettingsControls.h"
#include "switcher/TCPMatrixSwitcher.h"

class QWidget;

namespace velmora {

class SettingsView;

// What the settings view asks of the plugin.
class SwitchSettingsViewControllerDelegate {
  public:
    virtual ~SwitchSettingsViewControllerDelegate() = default;
    // The switcher in use; null when none is selected.
    virtual std::shared_ptr<TCPMatrixSwitcher> selectedDevice() = 0;
    // An output was added or removed.
    virtual void updateAttributes() = 0;
    // Another switch server was picked; the editor's settings name it.
    virtual void defaultSettingsHaveChanged() = 0;
};

// Returned when no number is free.
inline constexpr std::int64_t kNotFound = INT64_MAX;

// Made with std::make_shared. Main thread only. It may be released at any moment, also while one of its alerts is open.
// Outputs and inputs count from 0 in the settings and from 1 on the screen. Filling the column menus and adding an
// output ask the switch server for labels, one synchronous request each.
class SwitchSettingsViewController final : public NSObject {
  public:
    // The interface file is looked up in the bundle's resources when the view is first asked for.
    SwitchSettingsViewController(std::string nibName, std::shared_ptr<NSBundle> bundle);
    ~SwitchSettingsViewController() override;

    // Not owned; cleared before the delegate goes away.
    void setDelegate(SwitchSettingsViewControllerDelegate* delegate) { delegate_ = delegate; }
    SwitchSettingsViewControllerDelegate* delegate() const { return delegate_; }

    // Keeps a shallow copy: the list of the configured outputs is the giver's own and is edited in place.
    void setSettings(const DictionaryReference& settings);
    const DictionaryReference& settings() const { return settings_; }

    // Loads the view on the first call. Owned by the controller. Null, with the reason in the log, when it cannot be
    // made. A host that destroys the view, with the window that it put it in, gets a new one the next time.
    QWidget* view();

    // The view's side: it hands over its controls when it is loaded, then awakes the controller, and takes them back
    // (with an empty record) before they go.
    void setOutlets(const SettingsOutlets& outlets) { outlets_ = outlets; }
    void awakeFromNib();

    // Labels are compared exactly.
    bool checkIfOutputNameAlreadyExists(std::string_view name) const;
    bool checkIfOutputAlreadyExists(std::int64_t number) const;
    // The lowest of the output numbers 0 to 7 that no entry has; kNotFound when all are taken.
    std::int64_t firstAvailableOutputNumber() const;
    void addNewConfiguredOutput();
    // An index without an entry is ignored.
    void removeConfiguredOutputAtIndex(std::int64_t index);

    // User actions.
    void addRemoveButtonPushed(const SegmentedControl& sender);
    void refreshLabelsButtonPushed();
    void matrixSwitcherPopUpButtonChanged();
    // Nothing to do: the table's value callback stores the choice.
    void outputPopUpButtonChanged(const MenuItem&) {}
    void defaultInputPopUpButtonChanged(const MenuItem&) {}

    // Filling the view.
    void selectMatrixSwitcherWithName(const std::optional<std::string>& name);
    void updateMatrixSwitcherButton();
    void fillTableViewPopUpButtons();

    // The table's data source and delegate. A column is given by its identifier, the entry key that it shows and edits.
    // Rows count from 0.
    std::int64_t numberOfRowsInTableView(const TableView& table) const;
    // None for an empty cell: no switch server is selected, or the entry has no such value.
    std::optional<PropertyList> tableViewObjectValueForTableColumnRow(const TableView& table, std::string_view column,
                                                                      std::int64_t row) const;
    // Stores an edit, or refuses a label or an output number that an entry has, the edited one included. That is
    // intended: confirming the present value is refused, too.
    void tableViewSetObjectValueForTableColumnRow(const TableView& table, const PropertyList& value,
                                                  std::string_view column, std::int64_t row);
    // Sorts the list of the configured outputs itself: numbers by value, texts without regard to case, equal ones in
    // their present order.
    void tableViewSortDescriptorsDidChange(const TableView& table, const std::vector<SortDescriptor>& oldDescriptors);
    void tableViewSelectionDidChange(const TableView& table);

    // The entry at a row; null when there is none.
    DictionaryReference configuredOutputAtIndex(std::int64_t index) const;
    bool isSwitcherSelected() const;

  private:
    // Null when the settings hold no such list.
    ArrayReference configuredOutputs() const;
    void fillMenu(Menu* menu, std::int64_t count, const MenuItem& prototype, FormatOfOneInteger fallbackFormat,
                  std::optional<std::string> (TCPMatrixSwitcher::*labelAtIndex)(std::int32_t),
                  TCPMatrixSwitcher* device);
    void fillView();
    void reloadTable();
    void runAlertPanel(const char* title, const char* message);

    const std::string nibName_;
    const std::shared_ptr<NSBundle> bundle_;
    SettingsOutlets outlets_;
    SwitchSettingsViewControllerDelegate* delegate_ = nullptr;
    DictionaryReference settings_;
    SettingsView* view_ = nullptr;  // owned; null again when the host has destroyed it
    friend class SettingsView;
};

}  // namespace velmora
