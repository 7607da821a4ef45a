// How the program ends.
#pragma once

namespace velmora {

enum class ExitCode : int {
    done = 0,
    // The plugin refused, or has no such attribute.
    refused = 1,
    // Wrong usage, a file that cannot be read or written, a bundle that cannot be loaded.
    unusable = 2,
    // The switch server or its attributes did not come within the time given.
    timedOut = 3,
};

}  // namespace velmora
