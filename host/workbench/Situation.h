// Where the plugin's connection stands, in words, as far as the plugin tells.
#pragma once

#include <QString>

#include "host/PluginHost.h"

namespace velmora {

struct Situation {
    enum class Kind {
        stopped,
        running,  // started, of a plugin that does not tell of its connection
        unnamed,  // the settings name no server
        absent,   // the named server has not been found
        connecting,
        connected,
        lost,  // or never made
    };
    Kind kind = Kind::stopped;
    QString text;
};

// Main thread. Asks no device.
Situation situationOf(const PluginHost& host);

}  // namespace velmora
