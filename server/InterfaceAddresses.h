// The addresses of the machine's network interfaces: where an announcement leads to.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/Result.h"
#include "platform/threads/Moment.h"

namespace velmora {

// All that the interface has at this moment, IPv4 first; a link-local one ends in "%" and the interface. A failure of
// the system, as when no descriptor is left for looking. Any thread.
Result<std::vector<std::string>> addressesOfInterface(std::string_view interface);

// Whether a socket can listen on the address. A new IPv6 address cannot for a second or two, while the system asks
// whether another machine has it: that is waited for until then. Any thread.
bool canListenOn(const std::string& address, Date then);

// Whether somebody who listens on the address is reached at one of the others. An address for any ("0.0.0.0", "::") is.
bool isReachedThrough(const std::string& address, const std::vector<std::string>& addresses);

}  // namespace velmora
