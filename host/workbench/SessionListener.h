// Hears what happens to routes in the workbench.
#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace velmora {

// One of an attribute's values gave way to another, as far as the values that were read tell.
struct RouteChange {
    std::string name;
    std::string from;  // "" when it was not known
    std::string to;
    bool isByUs = false;  // set in this window, not by another panel, the plugin's defaults or the device
    std::chrono::system_clock::time_point moment;
};

// Main thread. Called outside the plugin's operations; a listener sets and reads nothing from within.
class SessionListener {
  public:
    virtual ~SessionListener() = default;
    // A value that this window has set is told even where it was there before.
    virtual void routeChanged(const RouteChange&) {}
    // A value was not set, or the device does not show it. The reason is for a person, without markup.
    virtual void setFailed(const std::string& /*name*/, const std::string& /*why*/) {}
    // The event loop runs again after a time in which nothing was painted.
    virtual void standstillEnded(std::chrono::milliseconds) {}
};

}  // namespace velmora
