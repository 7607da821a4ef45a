#include "host/workbench/Routes.h"

#include <utility>

namespace velmora {

void Routes::willSet(const std::string& name, const std::string& value) {
    routes_[name].ours = value;
}

std::optional<RouteChange> Routes::read(const std::string& name, const std::string& given, const Values& possible) {
    // A person knows an input by the name that the list of values gives it.
    const auto place = possible.indexOf(given);
    const std::string& value = place ? possible.texts()[*place] : given;
    Route& route = routes_[name];
    const auto ours = std::exchange(route.ours, std::nullopt);
    const bool isByUs = ours && possible.areSame(*ours, value);
    const bool isSame = route.now && possible.areSame(*route.now, value);
    if (!isSame) route.before = route.now;
    const std::string from = route.now.value_or("");
    const bool wasKnown = route.now.has_value();
    route.now = value;
    if (!isByUs && (isSame || !wasKnown)) return std::nullopt;
    return RouteChange{name, from, value, isByUs, std::chrono::system_clock::now()};
}

std::optional<std::string> Routes::previous(const std::string& name) const {
    const auto route = routes_.find(name);
    return route != routes_.end() ? route->second.before : std::nullopt;
}

}  // namespace velmora
