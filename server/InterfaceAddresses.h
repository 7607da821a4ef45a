// The addresses of the machine's network interfaces: where an announcement leads to.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/threads/Moment.h"

namespace velmora {

// All that the interface has at this moment, IPv4 first; a link-local one ends in "%" and the interface. Any thread.
std::vector<std::string> addressesOfInterface(std::string_view interface);

// Whether a socket can listen on the address. A new IPv6 address cannot for a second or two, while the system asks
// whether another machine has it: that is waited for until then. Any thread.
bool canListenOn(const std::string& address, Date then);

// Whether somebody who listens on the address is reached at one of the interface's. An address for any ("0.0.0.0",
// "::") is.
bool isReachedThroughInterface(const std::string& address, std::string_view interface);

}  // namespace velmora
