// What is known of each attribute's route, so that a change is noticed and can be taken back.
#pragma once

#include <map>
#include <optional>
#include <string>

#include "host/Values.h"
#include "host/workbench/SessionListener.h"

namespace velmora {

// Main thread. Knows values as texts of the plugin's; two texts may stand for one value.
class Routes {
  public:
    // The value is being set by this window. A change to it counts as ours, also when it is read only later.
    void willSet(const std::string& name, const std::string& value);
    // The value was read. None when nothing has changed, or when it is the first value and nobody here has set it.
    std::optional<RouteChange> read(const std::string& name, const std::string& value, const Values& possible);
    // The value before the last change.
    std::optional<std::string> previous(const std::string& name) const;

  private:
    struct Route {
        std::optional<std::string> now;
        std::optional<std::string> before;
        std::optional<std::string> ours;  // set here, not read yet
    };
    std::map<std::string, Route> routes_;
};

}  // namespace velmora
