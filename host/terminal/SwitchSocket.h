// A socket that leads to a switch server. The host protocol has no operation for what some commands want to know, so
// the host speaks the few words of the wire protocol itself; docs/wire-protocol.md describes it.
#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/Descriptor.h"
#include "platform/foundation/Result.h"
#include "platform/network/SocketAddress.h"
#include "platform/threads/Moment.h"

namespace velmora {

inline constexpr const char* kSwitchServiceType = "_matrixswitcher._tcp.";
// A reply that begins with this is a refusal.
inline constexpr std::string_view kRefusalOfServer = "ERROR";
// As much as the plugin reads at once, and so of one reply.
inline constexpr std::size_t kMaximumReply = 2048;

// Servers expect the two characters in this order.
inline std::string commandLine(std::string_view command) {
    return std::string(command) + "\n\r";
}

// Any thread. Waits until the descriptor is ready for that; a failure when it is not by then.
Result<void> waitFor(const Descriptor& descriptor, short events, Date end);
Result<Descriptor> connectionTo(const SocketAddress& address, Date end);
// To the first address that takes the connection. What is left of the time is shared, so that an address that is silent
// leaves some for the others.
Result<Descriptor> connectionTo(const std::vector<SocketAddress>& addresses, Date end);

}  // namespace velmora
