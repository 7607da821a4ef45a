#include "settings/SwitchSettingsViewController.h"

#include <algorithm>
#include <utility>

#include "platform/foundation/Text.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsView.h"
#include "switcher/Numbering.h"

namespace velmora {

namespace {

// Only this many output numbers are ever handed out, whatever the switcher's size. Intended.
constexpr std::int64_t kHandedOutNumbers = 8;
constexpr std::int64_t kAddSegment = 0;
constexpr std::int64_t kRemoveSegment = 1;

// Below 0, 0 or above 0. What is neither text nor number counts as 0; numbers come before texts.
int compareValues(const PropertyList* left, const PropertyList* right) {
    const auto text = [](const PropertyList* value) { return value != nullptr ? value->text() : std::nullopt; };
    const auto leftText = text(left);
    const auto rightText = text(right);
    if (leftText && rightText) return caseInsensitiveCompare(*leftText, *rightText);
    if (leftText || rightText) return leftText ? 1 : -1;
    const std::int64_t leftNumber = left != nullptr ? left->integerValue() : 0;
    const std::int64_t rightNumber = right != nullptr ? right->integerValue() : 0;
    return leftNumber < rightNumber ? -1 : (leftNumber > rightNumber ? 1 : 0);
}

}  // namespace

SwitchSettingsViewController::SwitchSettingsViewController(std::string nibName, std::shared_ptr<NSBundle> bundle)
    : nibName_(std::move(nibName)), bundle_(std::move(bundle)), settings_(makeDictionary()) {}

SwitchSettingsViewController::~SwitchSettingsViewController() {
    if (view_ != nullptr) view_->controllerGoesAway();
}

QWidget* SwitchSettingsViewController::view() {
    if (view_ == nullptr) SettingsView::load(*this, nibName_, bundle_.get());
    return view_;
}

void SwitchSettingsViewController::awakeFromNib() {
    // The items of the chooser stay enabled: a combo box never disables one by itself.
    fillView();
}

void SwitchSettingsViewController::setSettings(const DictionaryReference& settings) {
    settings_ = shallowCopy(settings);
    if (outlets_.matrixSwitcherPopUpButton != nullptr) fillView();
}

void SwitchSettingsViewController::fillView() {
    updateMatrixSwitcherButton();
    selectMatrixSwitcherWithName(textForKey(settings_, kSelectedDeviceNameKey));
    fillTableViewPopUpButtons();
}

// The configured outputs.

ArrayReference SwitchSettingsViewController::configuredOutputs() const {
    const PropertyList* value = valueForKey(settings_, kConfiguredOutputsKey);
    return value != nullptr ? value->array() : nullptr;
}

DictionaryReference SwitchSettingsViewController::configuredOutputAtIndex(std::int64_t index) const {
    const ArrayReference outputs = configuredOutputs();
    if (outputs == nullptr || index < 0 || static_cast<std::uint64_t>(index) >= outputs->size()) return nullptr;
    return (*outputs)[static_cast<std::size_t>(index)].dictionary();
}

bool SwitchSettingsViewController::checkIfOutputNameAlreadyExists(std::string_view name) const {
    const ArrayReference outputs = configuredOutputs();
    return outputs != nullptr && std::any_of(outputs->begin(), outputs->end(), [name](const PropertyList& entry) {
               return textForKey(entry.dictionary(), kLabelKey) == name;
           });
}

bool SwitchSettingsViewController::checkIfOutputAlreadyExists(std::int64_t number) const {
    const ArrayReference outputs = configuredOutputs();
    return outputs != nullptr && std::any_of(outputs->begin(), outputs->end(), [number](const PropertyList& entry) {
               return integerForKey(entry.dictionary(), kOutputNumberKey) == number;
           });
}

std::int64_t SwitchSettingsViewController::firstAvailableOutputNumber() const {
    for (std::int64_t number = 0; number < kHandedOutNumbers; ++number) {
        if (!checkIfOutputAlreadyExists(number)) return number;
    }
    return kNotFound;
}

void SwitchSettingsViewController::addNewConfiguredOutput() {
    const std::int64_t number = firstAvailableOutputNumber();
    // Asked before the number is looked at, so also for the marker cut to 32 bits. Intended: servers are used to it.
    const auto device = delegate_ != nullptr ? delegate_->selectedDevice() : nullptr;
    const auto deviceLabel =
        device != nullptr ? device->outputLabelAtIndex(static_cast<std::int32_t>(number)) : std::nullopt;
    if (number == kNotFound) {
        runAlertPanel("Output Error!", "All the outputs are already defined as used.");
        return;
    }
    const std::string name =
        deviceLabel && !deviceLabel->empty() ? labelledText(number, deviceLabel) : "Untitled Output";
    std::string label = name;
    for (std::int64_t counter = 2; checkIfOutputNameAlreadyExists(label); ++counter) {
        label = stringWithFormat("%@ %li", name, counter);
    }
    auto entry = makeDictionary();
    entry->emplace(kLabelKey, label);
    entry->emplace(kOutputTypeKey, "output");
    entry->emplace(kOutputNumberKey, static_cast<std::int32_t>(number));
    // A new output is routed from the input of the same number. Intended: one to one is the plainest start.
    entry->emplace(kDefaultInputNumberKey, static_cast<std::int32_t>(number));
    ArrayReference outputs = configuredOutputs();
    if (outputs == nullptr) {
        outputs = makeArray();
        settings_->insert_or_assign(kConfiguredOutputsKey, outputs);
    }
    outputs->emplace_back(std::move(entry));
}

void SwitchSettingsViewController::removeConfiguredOutputAtIndex(std::int64_t index) {
    const ArrayReference outputs = configuredOutputs();
    if (outputs == nullptr || index < 0 || static_cast<std::uint64_t>(index) >= outputs->size()) return;
    outputs->erase(outputs->begin() + index);
}

// User actions.

void SwitchSettingsViewController::addRemoveButtonPushed(const SegmentedControl& sender) {
    const std::weak_ptr<NSObject> self = weak_from_this();
    if (sender.selectedSegment() == kAddSegment) {
        addNewConfiguredOutput();
        if (self.expired()) return;  // released while its alert was open
    } else if (sender.selectedSegment() == kRemoveSegment) {
        const std::int64_t row = outlets_.outputsTableView != nullptr ? outlets_.outputsTableView->selectedRow() : -1;
        if (row < 0) return;
        removeConfiguredOutputAtIndex(row);
    } else {
        return;
    }
    reloadTable();
    if (delegate_ != nullptr) delegate_->updateAttributes();
}

void SwitchSettingsViewController::refreshLabelsButtonPushed() {
    fillTableViewPopUpButtons();
}

void SwitchSettingsViewController::matrixSwitcherPopUpButtonChanged() {
    if (outlets_.matrixSwitcherPopUpButton == nullptr) return;
    const auto title = outlets_.matrixSwitcherPopUpButton->titleOfSelectedItem();
    if (!title) return;
    settings_->insert_or_assign(kSelectedDeviceNameKey, *title);
    if (delegate_ != nullptr) delegate_->defaultSettingsHaveChanged();
}

// Filling the view.

void SwitchSettingsViewController::selectMatrixSwitcherWithName(const std::optional<std::string>& name) {
    PopUpButton* const button = outlets_.matrixSwitcherPopUpButton;
    if (button == nullptr) return;
    if (!name || name->empty()) {
        button->selectItemAtIndex(0);
    } else {
        button->selectItemWithTitle(*name);
    }
}

void SwitchSettingsViewController::updateMatrixSwitcherButton() {
    PopUpButton* const button = outlets_.matrixSwitcherPopUpButton;
    if (button == nullptr) return;
    button->removeAllItems();
    const PropertyList* value = valueForKey(settings_, kAvailableDevicesKey);
    const ArrayReference names = value != nullptr ? value->array() : nullptr;
    if (names == nullptr) return;
    for (const PropertyList& name : *names) {
        if (const auto text = name.text()) button->addItemWithTitle(*text);
    }
}

void SwitchSettingsViewController::fillTableViewPopUpButtons() {
    const auto device = delegate_ != nullptr ? delegate_->selectedDevice() : nullptr;
    const std::int64_t numberOfInputs = device != nullptr ? device->numberOfInputs() : 0;
    const std::int64_t numberOfOutputs = device != nullptr ? device->numberOfOutputs() : 0;
    fillMenu(outlets_.outputsPopUpButtonMenu, numberOfOutputs,
             {"", &SwitchSettingsViewController::outputPopUpButtonChanged, this, 0, "output"}, "Out %li",
             &TCPMatrixSwitcher::outputLabelAtIndex, device.get());
    fillMenu(outlets_.inputsPopUpButtonMenu, numberOfInputs,
             {"", &SwitchSettingsViewController::defaultInputPopUpButtonChanged, this, 0, std::nullopt}, "In %li",
             &TCPMatrixSwitcher::inputLabelAtIndex, device.get());
    reloadTable();
}

void SwitchSettingsViewController::fillMenu(Menu* menu, std::int64_t count, const MenuItem& prototype,
                                            FormatOfOneInteger fallbackFormat,
                                            std::optional<std::string> (TCPMatrixSwitcher::*labelAtIndex)(std::int32_t),
                                            TCPMatrixSwitcher* device) {
    if (menu == nullptr) return;
    while (menu->numberOfItems() > 0) {
        menu->removeItemAtIndex(0);
    }
    for (std::int64_t i = 0; i < count; ++i) {
        MenuItem item = prototype;
        item.title = labelledText(i, (device->*labelAtIndex)(static_cast<std::int32_t>(i)));
        // Never reached, as a labelled text has its digits at least. Intended: should such a text ever be empty, an
        // item can still be read and chosen.
        if (item.title.empty()) item.title = stringWithFormat(fallbackFormat, numberOf(i));
        item.tag = i;
        menu->addItem(std::move(item));
    }
}

void SwitchSettingsViewController::reloadTable() {
    if (outlets_.outputsTableView != nullptr) outlets_.outputsTableView->reloadData();
}

void SwitchSettingsViewController::runAlertPanel(const char* title, const char* message) {
    if (outlets_.alertPanel != nullptr) outlets_.alertPanel->runAlertPanel(title, message, "OK");
}

// The table.

bool SwitchSettingsViewController::isSwitcherSelected() const {
    return outlets_.matrixSwitcherPopUpButton != nullptr &&
           outlets_.matrixSwitcherPopUpButton->titleOfSelectedItem().has_value();
}

std::int64_t SwitchSettingsViewController::numberOfRowsInTableView(const TableView& table) const {
    const ArrayReference outputs = configuredOutputs();
    return &table == outlets_.outputsTableView && outputs != nullptr ? static_cast<std::int64_t>(outputs->size()) : 0;
}

std::optional<PropertyList> SwitchSettingsViewController::tableViewObjectValueForTableColumnRow(
    const TableView& table, std::string_view column, std::int64_t row) const {
    if (&table != outlets_.outputsTableView) return PropertyList("");
    if (!isSwitcherSelected()) return std::nullopt;
    const DictionaryReference entry = configuredOutputAtIndex(row);
    const PropertyList* value = valueForKey(entry, column);
    return value != nullptr ? std::optional(*value) : std::nullopt;
}

void SwitchSettingsViewController::tableViewSetObjectValueForTableColumnRow(const TableView& table,
                                                                            const PropertyList& value,
                                                                            std::string_view column, std::int64_t row) {
    if (&table != outlets_.outputsTableView || !isSwitcherSelected()) return;
    const DictionaryReference entry = configuredOutputAtIndex(row);
    if (entry == nullptr) return;
    const bool isTakenLabel = column == kLabelKey && checkIfOutputNameAlreadyExists(value.text().value_or(""));
    const bool isTakenNumber = column == kOutputNumberKey && checkIfOutputAlreadyExists(value.integerValue());
    if (isTakenLabel || isTakenNumber) {
        const std::weak_ptr<NSObject> self = weak_from_this();
        if (isTakenLabel) {
            runAlertPanel("Duplicate Label Error!", "This label already exists, so please choose another one.");
        } else {
            runAlertPanel("Duplicate Output Number Error!",
                          "This output number already exists, so please choose another one.");
        }
        if (!self.expired()) reloadTable();
        return;
    }
    // The list is the plugin's own, so the edit is in its settings at once; nobody is told. Intended: telling would
    // rebuild the attributes, with one question for each input, at every edit. The next rebuild picks it up.
    DictionaryReference changed = shallowCopy(entry);
    changed->insert_or_assign(std::string(column), value);
    (*configuredOutputs())[static_cast<std::size_t>(row)] = PropertyList(std::move(changed));
}

void SwitchSettingsViewController::tableViewSortDescriptorsDidChange(const TableView& table,
                                                                     const std::vector<SortDescriptor>&) {
    if (&table != outlets_.outputsTableView) return;
    // The settings themselves are sorted, and nobody is told. Intended: what is stored is what is seen, and the
    // attributes, in an order of their own, stay the same.
    if (const ArrayReference outputs = configuredOutputs()) {
        const std::vector<SortDescriptor>& descriptors = table.sortDescriptors();
        std::stable_sort(outputs->begin(), outputs->end(),
                         [&descriptors](const PropertyList& left, const PropertyList& right) {
                             for (const SortDescriptor& descriptor : descriptors) {
                                 const int order = compareValues(valueForKey(left.dictionary(), descriptor.key),
                                                                 valueForKey(right.dictionary(), descriptor.key));
                                 if (order != 0) return descriptor.ascending ? order < 0 : order > 0;
                             }
                             return false;
                         });
    }
    reloadTable();
}

void SwitchSettingsViewController::tableViewSelectionDidChange(const TableView& table) {
    if (&table != outlets_.outputsTableView || outlets_.addRemoveButton == nullptr) return;
    outlets_.addRemoveButton->setEnabledForSegment(table.selectedRow() >= 0, kRemoveSegment);
}

}  // namespace velmora
