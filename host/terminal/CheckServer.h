// The command "check-server": what the plugin would stumble over at a switch server. Main thread.
#pragma once

#include "host/ExitCode.h"
#include "host/Options.h"

namespace velmora {

// Needs no plugin; the interfaces must be limited already.
ExitCode checkServer(const Options& options);

}  // namespace velmora
