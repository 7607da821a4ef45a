// Finding out where a service leads: what is asked for, and what is answered.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/network/SocketAddress.h"
#include "platform/threads/Moment.h"

namespace velmora {

// Where a service leads. Host and port are those of the first address; each address carries its own port.
struct ServiceEndpoint {
    // Becomes true once the service is withdrawn from the network; null when no browse has seen it. Any thread.
    std::shared_ptr<const std::atomic<bool>> withdrawn;
    std::string hostName;  // as in "host.local."
    std::uint16_t port = 0;
    std::vector<SocketAddress> addresses;  // IPv4 before IPv6, within each by interface, then numerically
};

// What has become of a connection to a service. Any thread.
enum class ConnectionFate {
    open,
    ended,   // by the peer or a failure
    closed,  // by its owner
};
using SharedFate = std::shared_ptr<const std::atomic<ConnectionFate>>;

struct ResolutionRequest {
    std::uint64_t owner = 0;
    Date deadline;
    // Connecting does not wait for appearances that do not answer, resolving does.
    bool toConnect = false;
    // Called once, with null when nothing was found by the deadline.
    std::function<void(const ServiceEndpoint*)> done;
};

}  // namespace velmora
