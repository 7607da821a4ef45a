// The commands of the terminal: each asks the plugin through the host protocol and prints the answer.
#pragma once

#include "host/ExitCode.h"
#include "host/Options.h"
#include "host/PluginHost.h"

namespace velmora {

// Runs the command that the options name, which is not "workbench". The host has loaded the plugin, which may be left
// started. `settings` are those of the file, of which the plugin may have been given a part. Main thread; waits in the
// event loop.
ExitCode runCommand(PluginHost& host, const Options& options, const DictionaryReference& settings);

}  // namespace velmora
