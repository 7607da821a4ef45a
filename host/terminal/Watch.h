// The command "watch".
#pragma once

#include "host/ExitCode.h"
#include "host/Options.h"
#include "host/PluginHost.h"

namespace velmora {

// Prints a line each time the plugin says that its attributes have changed, and keeps changed settings, until
// interrupted. Main thread; runs the event loop.
ExitCode watch(PluginHost& host, const Options& options);

}  // namespace velmora
