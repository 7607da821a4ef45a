// Stands between Avahi's library and the sockets that it reads, and takes away the packets that it must not see.
#pragma once

#include <avahi-common/watch.h>

#include <array>
#include <cstdint>
#include <span>

namespace velmora {

// An alias (CNAME) that leads back to itself, by whatever way, makes the library call itself until the stack is used
// up, and whoever is on the same network can send one. Discovery needs no aliases, so packets with an alias are
// dropped, as are those that are cut off or garbled.
class PacketScreen {
  public:
    // What is read through `poll()` is screened; the events themselves are those of `inner`, which must live longer.
    explicit PacketScreen(const AvahiPoll* inner);
    PacketScreen(const PacketScreen&) = delete;
    PacketScreen& operator=(const PacketScreen&) = delete;

    // Everything made through it must be freed before this is destroyed.
    const AvahiPoll* poll() const { return &screened_; }

    // Whether a packet may pass.
    static bool passes(std::span<const std::uint8_t> packet);

  private:
    struct Watch;
    static AvahiWatch* makeWatch(const AvahiPoll* api, int descriptor, AvahiWatchEvent event,
                                 AvahiWatchCallback callback, void* userdata);
    static AvahiTimeout* makeTimeout(const AvahiPoll* api, const timeval* time, AvahiTimeoutCallback callback,
                                     void* userdata);
    static void eventHappened(AvahiWatch* innerWatch, int descriptor, AvahiWatchEvent event, void* watch);
    bool dropsNextPacket(int descriptor);

    const AvahiPoll* const inner_;
    AvahiPoll screened_;
    std::array<std::uint8_t, 64 * 1024> packet_;
};

}  // namespace velmora
