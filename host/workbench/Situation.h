// Where the plugin's connection stands, in words, as far as the plugin tells.
#pragma once

#include <QString>

#include "host/PluginHost.h"

namespace velmora {

// Main thread. Asks no device.
QString situationOf(const PluginHost& host);

}  // namespace velmora
