// What a host can tell about the plugin from its look-ups, its settings and, if it offers one, its status. Asks no
// device. Main thread.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/PluginHost.h"
#include "host/Values.h"

namespace velmora {

Values possibleValues(const VelmoraNodePluginProtocol& plugin, const std::string& name);
// Whether there are attributes, and each of those with several values has a list of them. A plugin may build its
// attributes a first time before its device has named the values.
bool attributesAreComplete(const VelmoraNodePluginProtocol& plugin);
// Whether there is nothing more to wait for: the plugin is connected (if it tells) and its attributes are complete;
// or its settings configure no outputs and the server is found; or they name no server.
bool attributesAreThere(const PluginHost& host);
// Whether the connection by which the attributes were built has ended, as far as the plugin tells: nothing more will
// come from it.
bool connectionIsLost(const PluginHost& host);

// What the settings say about switch servers. None for a plugin whose settings have no such key; "" when they name no
// server.
std::optional<std::string> selectedServer(VelmoraNodePluginProtocol& plugin);
bool knowsServers(VelmoraNodePluginProtocol& plugin);
std::vector<std::string> availableServers(VelmoraNodePluginProtocol& plugin);
bool isServerAvailable(VelmoraNodePluginProtocol& plugin, const std::string& server);
bool hasConfiguredOutputs(VelmoraNodePluginProtocol& plugin);
// The number of inputs of the matrix; none until the attributes tell.
std::optional<std::size_t> numberOfInputs(const VelmoraNodePluginProtocol& plugin);

}  // namespace velmora
