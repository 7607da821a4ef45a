// Waiting in the main event loop. Main thread.
#pragma once

#include <chrono>
#include <functional>

namespace velmora {

// Serves the event loop until the condition holds; false when it does not hold within the limit. The condition is
// checked at once and after each event, including the one that reached the limit: a plugin that blocked the loop until
// then may have made it true. What is to be deleted later is deleted, as in any event loop.
bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit);

}  // namespace velmora
