// The command line.
#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "host/Salvo.h"
#include "host/SettingsEdit.h"
#include "platform/foundation/Result.h"

namespace velmora {

enum class CommandName {
    plugins,
    servers,
    status,
    attributes,
    possible,
    get,
    set,
    apply,
    dump,
    watch,
    settings,
    configure,
    checkSettings,
    checkServer,
    workbench,
    help
};

inline constexpr std::chrono::milliseconds kUsualWait{10'000};

struct Options {
    // For --help and --version: the text to print instead of running a command. Empty: run the command.
    std::string information;

    CommandName command = CommandName::servers;
    // As many as the command takes.
    std::vector<std::string> arguments;
    // A folder, or a name in the search path. None: the usual one (see BundleSearch.h).
    std::optional<std::filesystem::path> bundle;
    // None: the plugin is given no saved settings and its settings are not kept.
    std::optional<std::filesystem::path> settings;
    // Empty: all of them.
    std::vector<std::string> interfaces;
    std::chrono::milliseconds wait = kUsualWait;
    // None: "watch" does not read values.
    std::optional<std::chrono::milliseconds> poll;
    // The lines of "apply", or the words of "set", where each is NAME=VALUE.
    std::vector<SalvoLine> steps;
    bool all = false;
    bool dryRun = false;
    // None: the workbench stays open until its window is closed.
    std::optional<std::filesystem::path> screenshot;
    // Of "configure" and of "check-settings".
    SettingsEdit edit;
    MatrixSize matrix;
    // Of "check-server": how often it asks all, and the output (from 1) that it may set; none: it sets nothing.
    int repeat = 1;
    std::optional<std::int64_t> trialOutput;
    bool defaults = false;
    bool json = false;
    bool verbose = false;
};

// The options, or what is wrong with them. Needs no application object: which kind of one is made depends on the
// command. Main thread.
Result<Options> parseOptions(int argc, const char* const* argv);

}  // namespace velmora
