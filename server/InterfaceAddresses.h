// The addresses of the machine's network interfaces: where an announcement leads to.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace velmora {

// All that the interface has at this moment, IPv4 first; a link-local one ends in "%" and the interface. Any thread.
std::vector<std::string> addressesOfInterface(std::string_view interface);

// Those that whoever looks an announcement up there tries first: its IPv4 addresses or, where it has none, its others.
std::vector<std::string> firstAddressesOfInterface(std::string_view interface);

// Whether somebody who listens on the address is reached at one of the interface's. An address for any ("0.0.0.0",
// "::") is.
bool isReachedThroughInterface(const std::string& address, std::string_view interface);

}  // namespace velmora
