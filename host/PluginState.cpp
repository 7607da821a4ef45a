#include "host/PluginState.h"

#include <algorithm>

#include "host/SettingsKeys.h"

namespace velmora {

namespace {

constexpr const char* kTypeOfSeveralValues = "MultipleValues";

// Null when there is none.
ArrayReference listInSettings(VelmoraNodePluginProtocol& plugin, std::string_view key) {
    const DictionaryReference settings = plugin.defaultSettings();
    const PropertyList* const value = valueForKey(settings, key);
    return value != nullptr ? value->array() : nullptr;
}

bool hasValues(const VelmoraNodePluginProtocol& plugin, const std::string& name) {
    const StringList values = plugin.possibleValuesOfAttributeWithName(name);
    return values != nullptr && !values->empty();
}

}  // namespace

Values possibleValues(const VelmoraNodePluginProtocol& plugin, const std::string& name) {
    return Values(plugin.possibleValuesOfAttributeWithName(name));
}

bool attributesAreComplete(const VelmoraNodePluginProtocol& plugin) {
    const StringList names = plugin.attributeNames();
    return !names->empty() && std::all_of(names->begin(), names->end(), [&](const std::string& name) {
        return plugin.typeOfAttributeWithName(name) != kTypeOfSeveralValues || hasValues(plugin, name);
    });
}

bool attributesAreThere(const PluginHost& host) {
    VelmoraNodePluginProtocol& plugin = host.plugin();
    const auto server = selectedServer(plugin);
    if (server == "") return true;
    const auto status = host.connectionStatus();
    if (status && status->state != NodePluginConnectionState::connected) return false;
    if (!server || hasConfiguredOutputs(plugin)) return attributesAreComplete(plugin);
    return status || isServerAvailable(plugin, *server);
}

bool connectionIsLost(const PluginHost& host) {
    const auto status = host.connectionStatus();
    const bool isOver = status && (status->state == NodePluginConnectionState::ended ||
                                   status->state == NodePluginConnectionState::failed);
    return isOver && attributesAreComplete(host.plugin());
}

std::optional<std::string> selectedServer(VelmoraNodePluginProtocol& plugin) {
    return textForKey(plugin.defaultSettings(), kSelectedDeviceName);
}

bool knowsServers(VelmoraNodePluginProtocol& plugin) {
    return listInSettings(plugin, kAvailableDevices) != nullptr;
}

std::vector<std::string> availableServers(VelmoraNodePluginProtocol& plugin) {
    std::vector<std::string> names;
    const ArrayReference devices = listInSettings(plugin, kAvailableDevices);
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
    const ArrayReference outputs = listInSettings(plugin, kConfiguredOutputs);
    return outputs != nullptr && !outputs->empty();
}

std::optional<std::size_t> numberOfInputs(const VelmoraNodePluginProtocol& plugin) {
    const StringList names = plugin.attributeNames();
    const StringList values = names->empty() ? nullptr : plugin.possibleValuesOfAttributeWithName(names->front());
    return values != nullptr && !values->empty() ? std::optional(values->size()) : std::nullopt;
}

}  // namespace velmora
