// The controls of the settings view as its rules see them. The loaded view implements them with real controls; the
// rules need no window.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace velmora {

class SwitchSettingsViewController;

// A button that offers one of several titles. What the program does to it never counts as the user's pick.
class PopUpButton {
  public:
    virtual ~PopUpButton() = default;
    virtual void removeAllItems() = 0;
    virtual void addItemWithTitle(const std::string& title) = 0;
    // Counts from 0; an index without an item selects nothing.
    virtual void selectItemAtIndex(std::int64_t index) = 0;
    // The first item of that title. Without one nothing is selected, and the button says that the title is not
    // available.
    virtual void selectItemWithTitle(const std::string& title) = 0;
    // None when nothing is selected.
    virtual std::optional<std::string> titleOfSelectedItem() const = 0;
};

// The order of a table's rows by the values under one key.
struct SortDescriptor {
    std::string key;
    bool ascending = true;
    friend bool operator==(const SortDescriptor&, const SortDescriptor&) = default;
};

class TableView {
  public:
    virtual ~TableView() = default;
    // Shows what its data source, the controller, answers now.
    virtual void reloadData() = 0;
    // Counts from 0; -1 when no row is selected.
    virtual std::int64_t selectedRow() const = 0;
    // The most significant one first.
    virtual const std::vector<SortDescriptor>& sortDescriptors() const = 0;
};

// A row of buttons; segments count from 0.
class SegmentedControl {
  public:
    virtual ~SegmentedControl() = default;
    // The segment pushed last; -1 before the first push.
    virtual std::int64_t selectedSegment() const = 0;
    virtual void setEnabledForSegment(bool enabled, std::int64_t segment) = 0;
};

struct MenuItem {
    std::string title;  // no item has a key equivalent
    // What the target is told when the user chooses the item.
    void (SwitchSettingsViewController::*action)(const MenuItem& sender) = nullptr;
    SwitchSettingsViewController* target = nullptr;
    std::int64_t tag = 0;
    std::optional<std::string> representedObject;
};

// The items that the pop-up cells of a column offer; they count from 0.
class Menu {
  public:
    std::size_t numberOfItems() const { return items_.size(); }
    // The index must be one of an item.
    const MenuItem& itemAtIndex(std::size_t index) const { return items_[index]; }
    void addItem(MenuItem item) { items_.push_back(std::move(item)); }
    void removeItemAtIndex(std::size_t index) { items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(index)); }

  private:
    std::deque<MenuItem> items_;  // gives its first item away cheaply, however many there are
};

class AlertPanel {
  public:
    virtual ~AlertPanel() = default;
    // A modal panel with one button. Returns when the user has closed it; meanwhile events are served, so that whatever
    // the caller relies on may have changed or be gone. An alert about a table edit is shown as soon as the edit has
    // ended, and the call returns at once.
    virtual void runAlertPanel(const std::string& title, const std::string& message, const std::string& button) = 0;
};

// The controls that a loaded view hands to its controller, owned by the view; all null without one.
struct SettingsOutlets {
    PopUpButton* matrixSwitcherPopUpButton = nullptr;
    TableView* outputsTableView = nullptr;
    SegmentedControl* addRemoveButton = nullptr;
    Menu* outputsPopUpButtonMenu = nullptr;
    Menu* inputsPopUpButtonMenu = nullptr;
    AlertPanel* alertPanel = nullptr;
};

}  // namespace velmora
