// A check, made by this program in a process of its own.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "plugincheck/Check.h"
#include "plugincheck/Report.h"

namespace velmora {

struct Verdict {
    Outcome outcome = Outcome::failed;
    std::string reason;  // "" for ok
    std::chrono::milliseconds duration{0};
};

// The words of this program's own command line, which the process gets again. Waits until it has ended, and ends it
// when a step takes longer than it may.
Verdict makeCheck(const Check& check, const std::vector<std::string>& words, bool verbose);

// In that process: sets its bounds, makes the check and reports. The exit code.
int runInside(int& argc, char** argv, const CheckOptions& options);

}  // namespace velmora
