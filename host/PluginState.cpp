#include "host/PluginState.h"

#include <algorithm>

#include "host/SettingsKeys.h"

namespace velmora {

namespace {

constexpr const char* kTypeOfSeveralValues = "MultipleValues";

std::size_t numberOfValues(const VelmoraNodePluginProtocol& plugin, const std::string& name) {
    const StringList values = plugin.possibleValuesOfAttributeWithName(name);
    return values != nullptr ? values->size() : 0;
}

}  // namespace

Values possibleValues(const VelmoraNodePluginProtocol& plugin, const std::string& name) {
    return Values(plugin.possibleValuesOfAttributeWithName(name));
}

bool attributesAreComplete(const VelmoraNodePluginProtocol& plugin) {
    const StringList names = plugin.attributeNames();
    return !names->empty() && std::all_of(names->begin(), names->end(), [&](const std::string& name) {
        return plugin.typeOfAttributeWithName(name) != kTypeOfSeveralValues || numberOfValues(plugin, name) > 0;
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
    return listForKey(plugin.defaultSettings(), kAvailableDevices) != nullptr;
}

std::vector<std::string> availableServers(VelmoraNodePluginProtocol& plugin) {
    std::vector<std::string> names;
    const ArrayReference devices = listForKey(plugin.defaultSettings(), kAvailableDevices);
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
    const ArrayReference outputs = listForKey(plugin.defaultSettings(), kConfiguredOutputs);
    return outputs != nullptr && !outputs->empty();
}

std::optional<std::size_t> numberOfInputs(const VelmoraNodePluginProtocol& plugin) {
    const StringList names = plugin.attributeNames();
    const std::size_t inputs = names->empty() ? 0 : numberOfValues(plugin, names->front());
    return inputs > 0 ? std::optional(inputs) : std::nullopt;
}

}  // namespace velmora
