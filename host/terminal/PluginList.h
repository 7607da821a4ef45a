// The command "plugins".
#pragma once

#include "host/ExitCode.h"
#include "host/Options.h"

namespace velmora {

// Prints the bundles that the program finds, with what their information dictionaries say. Loads none of them. Main
// thread; needs an application object.
ExitCode listPlugins(const Options& options);

}  // namespace velmora
