// The command "status", for monitoring systems.
#pragma once

#include "host/terminal/Context.h"

namespace velmora {

// Main thread. Prints one line: connected, lost or absent. Ends within the wait.
ExitCode printStatus(const Context& context);

}  // namespace velmora
