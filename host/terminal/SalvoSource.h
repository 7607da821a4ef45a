// The steps that a command line gives, itself or by naming a file.
#pragma once

#include "host/Options.h"
#include "platform/foundation/Result.h"

namespace velmora {

// Puts them into the options. "-" is standard input, which is read to its end.
Result<void> takeSteps(Options& options);

// The names that the command may mean as attributes, so that a plugin need be given nothing else; none when it looks at
// all of them.
std::optional<std::vector<std::string>> namesAskedFor(const Options& options);

}  // namespace velmora
