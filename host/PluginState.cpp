#include "host/PluginState.h"

#include <algorithm>

namespace velmora {

namespace {

// What the plugin reads of a value.
constexpr std::size_t kValueDigits = 4;
// What it puts where a label is missing.
constexpr std::string_view kNoLabel = " (null)";

// Null when there is none.
ArrayReference listInSettings(VelmoraNodePluginProtocol& plugin, std::string_view key) {
    const DictionaryReference settings = plugin.defaultSettings();
    const PropertyList* const value = valueForKey(settings, key);
    return value != nullptr ? value->array() : nullptr;
}

}  // namespace

StringList possibleValues(const VelmoraNodePluginProtocol& plugin, const std::string& name) {
    const StringList values = plugin.possibleValuesOfAttributeWithName(name);
    return values != nullptr ? values : makeStringList();
}

bool attributesAreComplete(const VelmoraNodePluginProtocol& plugin) {
    const StringList names = plugin.attributeNames();
    return !names->empty() && std::none_of(names->begin(), names->end(), [&](const std::string& name) {
        return possibleValues(plugin, name)->empty();
    });
}

bool noValueHasLabel(const VelmoraNodePluginProtocol& plugin) {
    const StringList names = plugin.attributeNames();
    if (names->empty()) return false;
    const StringList values = possibleValues(plugin, names->front());
    return !values->empty() && std::all_of(values->begin(), values->end(),
                                           [](const std::string& value) { return value.ends_with(kNoLabel); });
}

std::string selectedServer(VelmoraNodePluginProtocol& plugin) {
    return textForKey(plugin.defaultSettings(), "selectedDeviceName").value_or("");
}

std::vector<std::string> availableServers(VelmoraNodePluginProtocol& plugin) {
    std::vector<std::string> names;
    const ArrayReference devices = listInSettings(plugin, "availableDevices");
    if (devices == nullptr) return names;
    for (const PropertyList& device : *devices) {
        if (auto name = device.text()) names.push_back(std::move(*name));
    }
    return names;
}

bool isServerAvailable(VelmoraNodePluginProtocol& plugin, const std::string& server) {
    const auto names = availableServers(plugin);
    return std::find(names.begin(), names.end(), server) != names.end();
}

bool hasConfiguredOutputs(VelmoraNodePluginProtocol& plugin) {
    const ArrayReference outputs = listInSettings(plugin, "configuredOutputs");
    return outputs != nullptr && !outputs->empty();
}

bool attributesAreThere(VelmoraNodePluginProtocol& plugin) {
    const std::string server = selectedServer(plugin);
    if (server.empty()) return true;
    return hasConfiguredOutputs(plugin) ? attributesAreComplete(plugin) : isServerAvailable(plugin, server);
}

std::int64_t inputNumber(const std::string& value) {
    return integerValue(value);
}

bool canBeSet(const std::string& value) {
    return integerValue(std::string_view(value).substr(0, kValueDigits)) == inputNumber(value);
}

}  // namespace velmora
