// The commands that work on a settings file without a plugin: "configure" and "check-settings". Main thread.
#pragma once

#include "host/ExitCode.h"
#include "host/Options.h"

namespace velmora {

// Changes the file as the options say and prints what has changed. May ask the switch server for labels; for those the
// interfaces must be limited already.
ExitCode configure(const Options& options);
// Prints what is probably wrong in the file. Looks at nothing else.
ExitCode checkSettings(const Options& options);

}  // namespace velmora
