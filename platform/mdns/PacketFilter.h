// Stands between Avahi's library and the sockets that it reads, and takes away the packets that it must not see.
#pragma once

#include <avahi-common/watch.h>

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>

namespace velmora {

// An alias (CNAME) that leads back to itself, by whatever way, makes Avahi 0.8 call itself until the stack is used up,
// and anybody on the same network can send one (see docs/oddities.md). Discovery needs no aliases, so packets with an
// alias are dropped, as are those that are cut off, garbled, or longer than multicast DNS allows (the library asserts
// that none is).
//
// Only a packet that has been looked at reaches the library: where a look finds none, nothing is read. No order of
// packets gets by. The library reads a socket only when a watch of this poll tells it to, one packet each time, and
// every socket that it opens, for whatever family or interface, has its watch made here; only the kernel's netlink goes
// unlooked. What the look has found is the next to be read: the kernel checks a packet's checksum before it shows it,
// drops wrong ones before it and puts new ones behind it, and nothing else reads the socket; so the size that the
// library asks for first (FIONREAD) is that packet's, too. A packet without bytes, or too long to be looked at whole,
// is taken from the socket here.
class PacketFilter {
  public:
    struct Packet {
        std::span<const std::uint8_t> bytes;
        std::string source;  // the address in network order
        int interface = 0;   // index
        int protocol = 0;    // AVAHI_PROTO_INET or AVAHI_PROTO_INET6
    };
    using Observer = std::function<void(const Packet& packet)>;

    // What is read through `poll()` is filtered; the events themselves are those of `inner`, which must live longer.
    // `observer` is shown each packet from port 5353 that has passed, after the library has read it.
    PacketFilter(const AvahiPoll* inner, Observer observer);
    PacketFilter(const PacketFilter&) = delete;
    PacketFilter& operator=(const PacketFilter&) = delete;

    // Everything made through it must be freed before this is destroyed.
    const AvahiPoll* poll() const { return &filtered_; }

    // Whether the library is reading what the kernel says of interfaces and addresses.
    bool isReadingOfInterfaces() const { return readsOfInterfaces_; }
    // Whether the kernel had more to say of them than its queue holds. The library does not notice (Avahi 0.8), so what
    // it believes of them may be wrong from then on.
    bool hasMissedInterfaces() const { return missedInterfaces_; }

    // Whether a packet may pass.
    static bool passes(std::span<const std::uint8_t> packet);

  private:
    struct Watch;
    static AvahiWatch* makeWatch(const AvahiPoll* api, int descriptor, AvahiWatchEvent event,
                                 AvahiWatchCallback callback, void* userdata);
    static AvahiTimeout* makeTimeout(const AvahiPoll* api, const timeval* time, AvahiTimeoutCallback callback,
                                     void* userdata);
    static void eventHappened(AvahiWatch* innerWatch, int descriptor, AvahiWatchEvent event, void* watch);
    // The next packet, if there is one that may pass. One that may not is gone then.
    std::optional<Packet> nextPacket(int descriptor);

    const AvahiPoll* const inner_;
    const Observer observer_;
    bool readsOfInterfaces_ = false;
    bool missedInterfaces_ = false;
    AvahiPoll filtered_;
    // As long as a packet of multicast DNS may be at most, headers included.
    std::array<std::uint8_t, 9000> packet_;
};

}  // namespace velmora
