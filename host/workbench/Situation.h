// Where the plugin's connection stands, in words, as far as the plugin tells.
#pragma once

#include <QString>

#include "host/PluginHost.h"

namespace velmora {

enum class Lamp { off, good, waiting, bad };

struct Situation {
    Lamp lamp = Lamp::off;
    QString word;  // what the lamp says, to be seen from afar
    QString text;  // and the sentences
};

// Main thread. Asks no device.
Situation situationOf(const PluginHost& host);

}  // namespace velmora
