// The plugin's life, its settings, and what the switch controller and the settings editor tell it. The attributes are
// in VelmoraSwitchNodePluginAttributes.cpp.
#include "plugin/VelmoraSwitchNodePlugin.h"

#include <utility>

#include "platform/foundation/NSLog.h"
#include "settings/SettingsKeys.h"

namespace velmora {

namespace {

// A new list with a shallow copy of each entry. An entry that is no dictionary cannot be an output and is left out.
ArrayReference copiedOutputs(const DictionaryReference& settings) {
    auto outputs = makeArray();
    const PropertyList* value = valueForKey(settings, kConfiguredOutputsKey);
    const ArrayReference given = value != nullptr ? value->array() : nullptr;
    if (given == nullptr) {
        if (value != nullptr) NSLog("The settings' \"configuredOutputs\" is not a list (Velmora Switch Plugin)");
        return outputs;
    }
    for (const PropertyList& entry : *given) {
        if (const auto dictionary = entry.dictionary()) {
            outputs->emplace_back(shallowCopy(dictionary));
        } else {
            NSLog("A configured output is not a dictionary (Velmora Switch Plugin)");
        }
    }
    return outputs;
}

}  // namespace

VelmoraSwitchNodePlugin::VelmoraSwitchNodePlugin(std::shared_ptr<NSBundle> bundle, TelnetTimeLimits limits)
    : _pluginName("Velmora Switch"),
      _bundle(std::move(bundle)),
      limits_(limits),
      attributes_(std::make_shared<const AttributeDictionary>()),
      configuredOutputs_(makeArray()),
      status_(*this, _pluginName,
              [this] { return connectionStatusOf(_switchController.get(), _defaultSwitcherName.value_or("")); }) {}

VelmoraSwitchNodePlugin::~VelmoraSwitchNodePlugin() {
    delegate_ = nullptr;
    if (_settingsViewController != nullptr) _settingsViewController->setDelegate(nullptr);
    if (_switchController != nullptr) replacedControllers_.push_back(std::move(_switchController));
    for (const auto& controller : replacedControllers_) {
        controller->setDelegate(nullptr);
    }
}

std::int32_t VelmoraSwitchNodePlugin::startAndSetCurrentValuesToDefaults(bool setCurrentValuesToDefaults) {
    const PluginStatus::Operation operation(status_);
    _setValuesToDefaults = setCurrentValuesToDefaults;
    VelmoraSwitchControllerDelegate* const controllerDelegate = this;
    auto controller = std::make_shared<VelmoraSwitchController>(controllerDelegate, limits_);
    controller->preferServerWithName(_defaultSwitcherName.value_or(""));
    if (_switchController != nullptr) replacedControllers_.push_back(std::move(_switchController));
    _switchController = std::move(controller);
    started_ = true;
    return 0;
}

void VelmoraSwitchNodePlugin::stop() {
    const PluginStatus::Operation operation(status_);
    started_ = false;
    const auto controller = std::exchange(_switchController, nullptr);
    if (controller != nullptr) controller->setDelegate(nullptr);
}

std::optional<std::string> VelmoraSwitchNodePlugin::pluginVersionString() const {
    return _bundle != nullptr ? _bundle->objectForInfoDictionaryKey("CFBundleShortVersionString") : std::nullopt;
}

QWidget* VelmoraSwitchNodePlugin::settingsView() {
    const PluginStatus::Operation operation(status_);
    if (_settingsViewController == nullptr) {
        _settingsViewController = std::make_shared<SwitchSettingsViewController>("Settings", _bundle);
        _settingsViewController->setDelegate(this);
        updateSettingsView();
    }
    return _settingsViewController->view();
}

void VelmoraSwitchNodePlugin::updateSettingsView() {
    // Held: filling the view asks the switch server, and the host may release the plugin meanwhile.
    if (const auto editor = _settingsViewController) editor->setSettings(defaultSettings());
}

DictionaryReference VelmoraSwitchNodePlugin::defaultSettings() {
    auto available = makeArray();
    if (_switchController != nullptr) {
        for (const auto& server : _switchController->serversArray()) {
            available->emplace_back(server->serverName().value_or(""));
        }
    }
    auto settings = makeDictionary();
    settings->emplace(kAvailableDevicesKey, std::move(available));
    settings->emplace(kConfiguredOutputsKey, configuredOutputs());
    settings->emplace(kSelectedDeviceNameKey, _defaultSwitcherName.value_or(""));
    return settings;
}

void VelmoraSwitchNodePlugin::setDefaultSettings(const DictionaryReference& settings) {
    const PluginStatus::Operation operation(status_);
    _defaultSwitcherName = textForKey(settings, kSelectedDeviceNameKey);
    if (settings != nullptr && !settings->empty()) {
        selectSwitcher(_defaultSwitcherName);
    } else if (_switchController != nullptr && !_switchController->serversArray().empty()) {
        selectSwitcher(std::nullopt);
    }
    setConfiguredOutputs(copiedOutputs(settings));
    updateAttributes();
    updateSettingsView();
}

void VelmoraSwitchNodePlugin::defaultSettingsHaveChanged() {
    const PluginStatus::Operation operation(status_);
    if (_settingsViewController == nullptr) return;
    _defaultSwitcherName = textForKey(_settingsViewController->settings(), kSelectedDeviceNameKey);
    selectSwitcher(_defaultSwitcherName);
    updateAttributes();
}

void VelmoraSwitchNodePlugin::selectSwitcher(const std::optional<std::string>& name) {
    if (const auto controller = _switchController) controller->selectMatrixSwitcherWithName(name);
}

std::shared_ptr<TCPMatrixSwitcher> VelmoraSwitchNodePlugin::selectedDevice() {
    return _switchController != nullptr ? _switchController->selectedMatrixSwitcher() : nullptr;
}

void VelmoraSwitchNodePlugin::newMatrixSwitcherWithNameDidBecomeAvailable(const std::string& name) {
    const PluginStatus::Operation operation(status_);
    if (_defaultSwitcherName == name) selectSwitcher(name);
    updateAttributes();
    updateSettingsView();
}

void VelmoraSwitchNodePlugin::matrixSwitcherWithNameDidDisappear(const std::string&) {
    const PluginStatus::Operation operation(status_);
    // The selection stays as it is. Intended: an announcement is not the server, and the connection may live on.
    updateAttributes();
    updateSettingsView();
}

void VelmoraSwitchNodePlugin::matrixDimensionsChangedTo(MatrixSwitcher&, NSSize) {
    const PluginStatus::Operation operation(status_);
    // The flag is never cleared, so every connection routes the defaults. Intended: a server that restarted has
    // forgotten its routes.
    if (_setValuesToDefaults) setCurrentValuesToDefaults();
    updateAttributes();
    updateSettingsView();
}

void VelmoraSwitchNodePlugin::connectionStatusChanged() {
    status_.refresh();
}

NodePluginOutcome VelmoraSwitchNodePlugin::lastOutcome() const {
    // The connection may have ended since, which would say that the reply was cut.
    const auto controller = _switchController;
    if (const auto switcher = controller != nullptr ? controller->selectedMatrixSwitcher() : nullptr) {
        switcher->lastOutcome();
    }
    return status_.outcome();
}

}  // namespace velmora
