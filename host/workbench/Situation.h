// Where the plugin's connection stands, in words, as far as a host can tell.
#pragma once

#include <QString>
#include <optional>
#include <string>

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
    // None while the newest connection, however far it came, has not ended; then why, "" when nobody said.
    std::optional<std::string> end;
};

// Main thread. Asks the switch server nothing.
Situation situationOf(VelmoraNodePluginProtocol& plugin, const ConnectionSigns& signs);

}  // namespace velmora
