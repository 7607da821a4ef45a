// The kernel's counts for this process's TCP connections to a server.
#pragma once

#include <cstdint>

namespace velmora::bench {

struct Traffic {
    std::uint64_t bytesSent = 0;
    // Received segments with data. A server answers each short line in one segment, so this counts the replies.
    std::uint64_t repliesReceived = 0;
    friend bool operator==(const Traffic&, const Traffic&) = default;
};

// The sum over all open connections to that port. Throws Wrong when there is none.
Traffic trafficWithPort(std::uint16_t port);

}  // namespace velmora::bench
