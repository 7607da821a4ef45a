// What a host can tell of the plugin from its look-ups and its settings, without asking the switch server. Main thread.
#pragma once

#include <string>
#include <vector>

#include "plugin/VelmoraNodePluginProtocol.h"

namespace velmora {

// Never null; empty when there are none to be had.
StringList possibleValues(const VelmoraNodePluginProtocol& plugin, const std::string& name);
// Whether there are attributes and each has possible values. The attributes are built a first time while the connection
// is being opened; there is nothing in those yet that could be chosen.
bool attributesAreComplete(const VelmoraNodePluginProtocol& plugin);
// Whether the attributes were built without the switcher's answers: a lost connection leaves every value without its
// label.
bool noValueHasLabel(const VelmoraNodePluginProtocol& plugin);
// "" when the settings name none.
std::string selectedServer(VelmoraNodePluginProtocol& plugin);
std::vector<std::string> availableServers(VelmoraNodePluginProtocol& plugin);
bool isServerAvailable(VelmoraNodePluginProtocol& plugin, const std::string& server);
bool hasConfiguredOutputs(VelmoraNodePluginProtocol& plugin);
// Whether there is nothing more to wait for: the attributes are complete or, where no outputs are configured, the
// server is found, or the settings name none.
bool attributesAreThere(VelmoraNodePluginProtocol& plugin);
// The number of the input at the beginning of a value.
std::int64_t inputNumber(const std::string& value);
// Whether the plugin would take a value for that number: it reads the first four characters, and nothing else.
bool canBeSet(const std::string& value);

}  // namespace velmora
