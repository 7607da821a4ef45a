// What the filter before Avahi's core lets through.
#include <gtest/gtest.h>

#include <array>

#include "platform/mdns/PacketFilter.h"
#include "tests/dnssd/RawAnnouncer.h"
#include "tests/support/Sockets.h"

namespace velmora::test {

TEST(PacketFilter, packetsWithAnAliasOrCutOffAreFilteredOut) {
    static AvahiWatchCallback event;
    static void* watch;
    AvahiPoll inner{};
    inner.watch_new = [](const AvahiPoll*, int, AvahiWatchEvent, AvahiWatchCallback callback, void* userdata) {
        event = callback;
        return static_cast<AvahiWatch*>(watch = userdata);
    };
    inner.watch_free = [](AvahiWatch*) {};
    PacketFilter filter(&inner, [](const PacketFilter::Packet&) {});
    std::array<int, 2> ends{};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0, ends.data()), 0);
    const Socket reader(ends[0]), sender(ends[1]);
    int reads = 0;
    const auto library = [](AvahiWatch*, int descriptor, AvahiWatchEvent, void* count) {
        std::array<char, 100> packet;
        *static_cast<int*>(count) += recv(descriptor, packet.data(), packet.size(), MSG_DONTWAIT) < 0 ? 100 : 1;
    };
    AvahiWatch* const filtered = filter.poll()->watch_new(filter.poll(), ends[0], AVAHI_WATCH_IN, library, &reads);
    const auto passes = [&](const std::string& packet) {
        reads = 0;
        // A look that finds nothing, as after a wrong checksum, lets nothing be read: a packet may come right then.
        event(nullptr, ends[0], AVAHI_WATCH_IN, watch);
        EXPECT_EQ(send(ends[1], packet.data(), packet.size(), 0), std::ssize(packet));
        event(nullptr, ends[0], AVAHI_WATCH_IN, watch);
        EXPECT_LE(reads, 1);
        return reads == 1;
    };
    RawAnnouncer announcer;
    const RawAnnouncer::Labels host{"host-a", "local"};
    const std::string good = announcer.pointer("a").location("a", host, 1).take();
    for (std::size_t size = 0; size <= good.size(); ++size) {
        EXPECT_EQ(passes(good.substr(0, size)), size == good.size()) << size;
    }
    EXPECT_FALSE(passes(announcer.pointer("a").alias({"a"}, {"b"}).take()));
    EXPECT_FALSE(passes(announcer.location(std::string(64, 'x'), host, 1).take()));
    EXPECT_FALSE(passes(std::string(9001, 'x')));
    filter.poll()->watch_free(filtered);
}

}  // namespace velmora::test
