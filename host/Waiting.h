// Waiting in the main event loop. Main thread.
#pragma once

#include <chrono>
#include <functional>

namespace velmora {

// Serves the event loop until the condition holds; false when it does not within the limit. The condition is looked at
// at once and after each event, such as one in which the plugin has told of a change, the last time after the one that
// reached the limit: a plugin that blocked the loop meanwhile is given its due.
bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit);

// Serves what waits in the event loop by now.
void serveEventsOnce();

}  // namespace velmora
