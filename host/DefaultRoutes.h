// What a person is to know of starting the plugin with defaults, wherever that is offered or done.
#pragma once

namespace velmora {

inline constexpr const char* kWhatDefaultsDo =
    "each time its device connects, also when it merely restarts or is announced anew, by whomever, all outputs are "
    "routed to their defaults over the operator's routes";

}  // namespace velmora
