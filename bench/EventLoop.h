// Serves the main thread's event loop while something is awaited.
#pragma once

#include <chrono>
#include <functional>
#include <string>

namespace velmora::bench {

// Throws Wrong, which names what was awaited, when the condition does not become true in time.
void serveUntil(const std::function<bool()>& condition, const std::string& awaited,
                std::chrono::seconds limit = std::chrono::seconds(120));

void serveFor(std::chrono::milliseconds duration);

}  // namespace velmora::bench
