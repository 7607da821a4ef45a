// What has gone over this process's TCP connections to a server, as the kernel counts it.
#pragma once

#include <cstdint>

namespace velmora::bench {

struct Traffic {
    std::uint64_t bytesSent = 0;
    // Segments with data that came in. A server answers each short line in one segment, so this counts the replies.
    std::uint64_t repliesReceived = 0;
    friend bool operator==(const Traffic&, const Traffic&) = default;
};

// Over all connections that are open to that port. Throws Wrong when there is none.
Traffic trafficWithPort(std::uint16_t port);

}  // namespace velmora::bench
