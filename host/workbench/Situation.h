// Where the plugin's connection stands, in words, as far as a host can tell.
#pragma once

#include <QString>

#include "plugin/VelmoraNodePluginProtocol.h"

namespace velmora {

struct Situation {
    enum class Kind {
        stopped,
        unnamed,       // the settings name no server
        absent,        // the named server has not been found
        unconfigured,  // it was found, but without configured outputs nothing shows what becomes of the connection
        connecting,    // found, and has not told its matrix yet
        connected,
        lost,
    };
    Kind kind = Kind::stopped;
    QString text;
};

// What a host learns of a connection besides the plugin's answers.
struct ConnectionSigns {
    bool isStarted = false;
    bool hasBuiltAttributes = false;  // since it was started; until then it answers with those of before
    bool hasEnded = false;            // the connection has, since the attributes were built
};

// Main thread. Asks the switch server nothing.
Situation situationOf(VelmoraNodePluginProtocol& plugin, const ConnectionSigns& signs);

// Whether the attributes were built without the switcher's answers: a lost connection leaves every value without its
// label.
bool valuesLackLabels(const VelmoraNodePluginProtocol& plugin);

}  // namespace velmora
