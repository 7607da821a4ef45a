// How the program ends.
#pragma once

namespace velmora {

enum class ExitCode : int {
    done = 0,
    // The plugin refused or has no such attribute, or its device gave no proper answer or did not do as told.
    refused = 1,
    // Wrong usage, a file that cannot be read or written, a bundle that cannot be loaded.
    unusable = 2,
    // The switch server, its attributes or its answer did not come in time.
    timedOut = 3,
};

}  // namespace velmora
