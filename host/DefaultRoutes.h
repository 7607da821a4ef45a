// The warning that belongs wherever starting the plugin with defaults is offered or done.
#pragma once

namespace velmora {

inline constexpr const char* kWhatDefaultsDo =
    "each time its device connects, also when it merely restarts or is announced anew, by whomever, all outputs are "
    "routed to their defaults over the operator's routes";

}  // namespace velmora
