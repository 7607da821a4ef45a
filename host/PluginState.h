// What a host can tell of the plugin from its look-ups, its settings and, where it offers one, its status. Asks no
// device. Main thread.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/PluginHost.h"
#include "host/Values.h"

namespace velmora {

Values possibleValues(const VelmoraNodePluginProtocol& plugin, const std::string& name);
// Whether there are attributes, and something to choose from for each that says that it has several values. A plugin
// may build its attributes a first time before its device has told it what there is to be chosen.
bool attributesAreComplete(const VelmoraNodePluginProtocol& plugin);
// Whether there is nothing more to wait for: the plugin is connected or, where it does not tell, its attributes are
// complete; where its settings configure no outputs, the server is found; or they name no server.
bool attributesAreThere(const PluginHost& host);
// Whether a connection that the attributes were built by is no more, as far as the plugin tells: nothing comes of it
// any longer.
bool connectionIsLost(const PluginHost& host);

// What the settings say of switch servers. None for a plugin whose settings know nothing of them; "" when they name
// none.
std::optional<std::string> selectedServer(VelmoraNodePluginProtocol& plugin);
bool knowsServers(VelmoraNodePluginProtocol& plugin);
std::vector<std::string> availableServers(VelmoraNodePluginProtocol& plugin);
bool isServerAvailable(VelmoraNodePluginProtocol& plugin, const std::string& server);
bool hasConfiguredOutputs(VelmoraNodePluginProtocol& plugin);
// The inputs of the matrix; none until the attributes tell.
std::optional<std::size_t> numberOfInputs(const VelmoraNodePluginProtocol& plugin);

}  // namespace velmora
