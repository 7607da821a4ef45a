// The command line.
#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "host/ExitCode.h"

namespace velmora {

enum class CommandName { servers, attributes, possible, get, set, settings, watch, workbench };

struct Options {
    CommandName command = CommandName::servers;
    // As many as the command takes.
    std::vector<std::string> arguments;
    // None: beside the program, then where it is installed.
    std::optional<std::filesystem::path> bundle;
    // None: the plugin is given no saved settings and its settings are not kept.
    std::optional<std::filesystem::path> settings;
    // Empty: all of them.
    std::vector<std::string> interfaces;
    std::chrono::milliseconds wait{10'000};
    // None: the workbench stays open until its window is closed.
    std::optional<std::filesystem::path> screenshot;
    bool defaults = false;
    bool json = false;
    bool verbose = false;
};

// What to say and how to end when there is nothing to run: --help and --version, or wrong usage.
struct EarlyEnd {
    ExitCode code = ExitCode::done;
    std::string text;
};

// Needs no application object: which kind of one is made depends on the command.
std::variant<Options, EarlyEnd> parseOptions(int argc, const char* const* argv);

}  // namespace velmora
