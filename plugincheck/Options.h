// The command line.
#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/foundation/PropertyList.h"
#include "platform/foundation/Result.h"

namespace velmora {

inline constexpr std::chrono::milliseconds kUsualPatience{2'000};
// A command of a plugin may wait ten seconds for its device; the rest is for a busy machine.
inline constexpr std::chrono::milliseconds kUsualOperationTime{12'000};

struct CheckOptions {
    // For --help, --version and --list: the text to print instead of checking anything. Empty: check.
    std::string information;

    std::filesystem::path bundle;
    // The names of the checks to make; empty for all of them.
    std::vector<std::string> only;
    // The settings to hand to the plugin; null for none.
    DictionaryReference settings;
    // Empty: all of them.
    std::vector<std::string> interfaces;
    // How long to wait for attributes, notices and a connection.
    std::chrono::milliseconds wait = kUsualPatience;
    // The time that one operation may take.
    std::chrono::milliseconds operationTime = kUsualOperationTime;
    // Whether values may be set.
    bool set = false;
    bool json = false;
    bool verbose = false;
    // In the process of one check, its name. Empty in the program that a person starts.
    std::string inside;
};

// The options, or what is wrong with them. Needs no application object.
Result<CheckOptions> parseCheckOptions(int argc, const char* const* argv);

// Hidden: the program starts itself with this option and the name of a check.
inline constexpr const char* kInsideOption = "inside";

}  // namespace velmora
