// The commands of the terminal: each asks the plugin through the host protocol and prints the answer.
#pragma once

#include "host/ExitCode.h"
#include "host/Options.h"
#include "host/PluginHost.h"

namespace velmora {

// Runs the command that the options name, which is not "workbench". The host has loaded the plugin, which may be left
// started. Main thread; waits in the event loop.
ExitCode runCommand(PluginHost& host, const Options& options);

}  // namespace velmora
