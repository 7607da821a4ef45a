// velmora-plugin-check: tries a plugin as a host may use it, and as it should not.
#include <algorithm>
#include <csignal>
#include <cstdio>

#include "host/Console.h"
#include "platform/foundation/Descriptor.h"
#include "platform/foundation/Text.h"
#include "plugincheck/CheckProcess.h"
#include "plugincheck/Options.h"
#include "plugincheck/Results.h"

namespace velmora {

namespace {

enum class ExitCode : int { holds = 0, fails = 1, unusable = 2 };

int unusable(const std::string& why) {
    std::fprintf(stderr, "velmora-plugin-check: %s\n", stringByEscapingControlCharacters(why).c_str());
    return static_cast<int>(ExitCode::unusable);
}

bool isAskedFor(const Check& check, const CheckOptions& options) {
    return options.only.empty() || std::ranges::find(options.only, check.name) != options.only.end();
}

int makeChecks(const CheckOptions& options, const std::vector<std::string>& words) {
    Results results(options.bundle.string(), options.json);
    for (const Check& check : allChecks()) {
        if (isAskedFor(check, options)) results.add(check, makeCheck(check, words, options.verbose));
    }
    results.finish();
    if (!outputIsGood()) return unusable("the results could not be written to standard output");
    return static_cast<int>(results.hold() ? ExitCode::holds : ExitCode::fails);
}

int start(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN);  // a closed pipe fails the write, and the exit code tells
    const auto options = parseCheckOptions(argc, argv);
    if (!options) return unusable(options.failure().reason);
    if (!options->inside.empty()) return runInside(argc, argv, *options);
    if (options->information.empty()) return makeChecks(*options, {argv, argv + argc});
    printText(options->information);
    return outputIsGood() ? EXIT_SUCCESS : unusable("the text could not be written to standard output");
}

}  // namespace

}  // namespace velmora

// NOLINTNEXTLINE(bugprone-exception-escape): without memory there is nothing left to do but end
int main(int argc, char** argv) {
    velmora::occupyStandardDescriptors();
    return velmora::start(argc, argv);
}
