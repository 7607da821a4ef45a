// Running the main event loop from a test until a condition holds.
#pragma once

#include <functional>

namespace velmora::test {

// Serves the event loop until the condition holds; false when it does not within the time (seconds). The limit only
// bounds a failing test.
bool runMainLoopUntil(const std::function<bool()>& condition, double timeout = 30.0);

// Serves what the event loop has to do now, once.
void runMainLoopOnce();

}  // namespace velmora::test
