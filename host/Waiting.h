// Waiting in the main event loop.
#pragma once

#include <chrono>
#include <functional>

namespace velmora {

// Serves the event loop until the condition holds; false when it does not within the limit. The condition is looked at
// at once, then every few hundredths of a second, and once more when the limit has passed: a plugin that blocked the
// loop meanwhile is given its due. Main thread.
bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit);

}  // namespace velmora
