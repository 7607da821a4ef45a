// The host's end of the line, as velmora-mdns sees it.
#pragma once

#include <avahi-common/watch.h>

#include <functional>

#include "platform/foundation/Descriptor.h"
#include "platform/network/dnssd/MdnsFrame.h"

namespace velmora {

// One thread.
class HostConnection {
  public:
    using Handler = std::function<void(const MdnsFrame& frame)>;

    // On kMdnsDescriptor. `heard` is called for each message of the host.
    HostConnection(const AvahiPoll* poll, Handler heard);
    ~HostConnection();

    // Whether the descriptor is such a connection.
    static bool exists();

    // Waits until the host has taken it: a host that stands still has this program stand still, and nothing piles up.
    // Packets that come meanwhile stay in the kernel's buffer, and those that do not fit are lost, as with any
    // process that is busy. The host never waits for this program, so neither waits for the other.
    void send(const MdnsFrame& frame);
    // Handles what the host has sent, some of it at a time.
    void read();
    // The host has gone, or has sent something unusable.
    bool hasEnded() const { return ended_; }

  private:
    const AvahiPoll* const poll_;
    const Handler heard_;
    AvahiWatch* watch_ = nullptr;
    const Descriptor host_;  // pidfd
    AvahiWatch* hostWatch_ = nullptr;
    bool ended_ = false;
    bool deaf_ = false;  // the host takes nothing any more
};

}  // namespace velmora
