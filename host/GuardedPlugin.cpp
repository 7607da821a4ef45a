#include "host/GuardedPlugin.h"

#include <unistd.h>

#include <utility>

#include "host/Console.h"
#include "host/ExitCode.h"

namespace velmora {

using OptionalText = std::optional<std::string>;

void endAfterException(const char* operation, const char* what) {
    complain(std::string("the plugin threw an exception in ") + operation + ", which a plugin must not do: " + what);
    _exit(static_cast<int>(ExitCode::unusable));
}

GuardedPlugin::GuardedPlugin(std::shared_ptr<VelmoraNodePluginProtocol> plugin) : plugin_(std::move(plugin)) {}

std::int32_t GuardedPlugin::startAndSetCurrentValuesToDefaults(bool setCurrentValuesToDefaults) {
    return endingWhereItThrows("startAndSetCurrentValuesToDefaults",
                               [&] { return plugin_->startAndSetCurrentValuesToDefaults(setCurrentValuesToDefaults); });
}

void GuardedPlugin::stop() {
    return endingWhereItThrows("stop", [&] { return plugin_->stop(); });
}

void GuardedPlugin::setDelegate(VelmoraNodePluginProtocol_Delegate* delegate) {
    return endingWhereItThrows("setDelegate", [&] { return plugin_->setDelegate(delegate); });
}

VelmoraNodePluginProtocol_Delegate* GuardedPlugin::delegate() const {
    return endingWhereItThrows("delegate", [&] { return plugin_->delegate(); });
}

void GuardedPlugin::setDefaultSettings(const DictionaryReference& settings) {
    return endingWhereItThrows("setDefaultSettings", [&] { return plugin_->setDefaultSettings(settings); });
}

DictionaryReference GuardedPlugin::defaultSettings() {
    DictionaryReference given = endingWhereItThrows("defaultSettings", [&] { return plugin_->defaultSettings(); });
    return given != nullptr ? given : makeDictionary();
}

StringList GuardedPlugin::attributeNames() const {
    StringList given = endingWhereItThrows("attributeNames", [&] { return plugin_->attributeNames(); });
    return given != nullptr ? given : makeStringList();
}

std::string GuardedPlugin::pluginName() const {
    return endingWhereItThrows("pluginName", [&] { return plugin_->pluginName(); });
}

OptionalText GuardedPlugin::pluginVersionString() const {
    return endingWhereItThrows("pluginVersionString", [&] { return plugin_->pluginVersionString(); });
}

OptionalText GuardedPlugin::displayNameOfAttributeWithName(const std::string& name) const {
    return endingWhereItThrows("displayNameOfAttributeWithName",
                               [&] { return plugin_->displayNameOfAttributeWithName(name); });
}

OptionalText GuardedPlugin::typeOfAttributeWithName(const std::string& name) const {
    return endingWhereItThrows("typeOfAttributeWithName", [&] { return plugin_->typeOfAttributeWithName(name); });
}

std::string GuardedPlugin::currentValueOfAttributeWithName(const std::string& name) {
    lastAttribute_ = name;
    return endingWhereItThrows("currentValueOfAttributeWithName",
                               [&] { return plugin_->currentValueOfAttributeWithName(name); });
}

OptionalText GuardedPlugin::defaultValueOfAttributeWithName(const std::string& name) const {
    return endingWhereItThrows("defaultValueOfAttributeWithName",
                               [&] { return plugin_->defaultValueOfAttributeWithName(name); });
}

OptionalText GuardedPlugin::directionOfAttributeWithName(const std::string& name) const {
    return endingWhereItThrows("directionOfAttributeWithName",
                               [&] { return plugin_->directionOfAttributeWithName(name); });
}

StringList GuardedPlugin::possibleValuesOfAttributeWithName(const std::string& name) const {
    StringList given = endingWhereItThrows("possibleValuesOfAttributeWithName",
                                           [&] { return plugin_->possibleValuesOfAttributeWithName(name); });
    return given != nullptr ? given : makeStringList();
}

std::int32_t GuardedPlugin::setValueForAttributeWithName(const std::string& value, const std::string& name) {
    lastAttribute_ = name;
    return endingWhereItThrows("setValueForAttributeWithName",
                               [&] { return plugin_->setValueForAttributeWithName(value, name); });
}

QWidget* GuardedPlugin::settingsView() {
    return endingWhereItThrows("settingsView", [&] { return plugin_->settingsView(); });
}

}  // namespace velmora
