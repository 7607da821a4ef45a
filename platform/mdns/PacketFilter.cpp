#include "platform/mdns/PacketFilter.h"

#include <avahi-common/address.h>
#include <avahi-common/defs.h>
#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>

#include "platform/mdns/PacketReader.h"

namespace velmora {

namespace {

// Of multicast DNS. What comes from elsewhere is no announcement.
constexpr std::uint16_t kPort = 5353;

// The kernel alone speaks through it, of interfaces and addresses.
bool isNetlinkSocket(int descriptor) {
    int domain = 0;
    socklen_t length = sizeof domain;
    return getsockopt(descriptor, SOL_SOCKET, SO_DOMAIN, &domain, &length) == 0 && domain == AF_NETLINK;
}

// Whether messages have ever found no room in the socket's queue. The error that tells of it goes to whoever reads
// next, this count stays.
bool hasDropped(int descriptor) {
    std::array<std::uint32_t, SK_MEMINFO_VARS> counts{};
    socklen_t length = sizeof counts;
    return getsockopt(descriptor, SOL_SOCKET, SO_MEMINFO, counts.data(), &length) == 0 && counts[SK_MEMINFO_DROPS] != 0;
}

template <typename Value>
Value read(const void* from) {
    Value value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

template <typename Bytes>
std::string textOf(const Bytes& bytes) {
    return {reinterpret_cast<const char*>(&bytes), sizeof bytes};
}

// The index of the interface on which it has arrived, which the library has the kernel say; 0 when it does not.
int interfaceOf(msghdr& message) {
    for (cmsghdr* part = CMSG_FIRSTHDR(&message); part != nullptr; part = CMSG_NXTHDR(&message, part)) {
        if (part->cmsg_level == IPPROTO_IP && part->cmsg_type == IP_PKTINFO)
            return read<in_pktinfo>(CMSG_DATA(part)).ipi_ifindex;
        if (part->cmsg_level == IPPROTO_IPV6 && part->cmsg_type == IPV6_PKTINFO)
            return static_cast<int>(read<in6_pktinfo>(CMSG_DATA(part)).ipi6_ifindex);
    }
    return 0;
}

}  // namespace

// Avahi takes this for its watch.
struct PacketFilter::Watch {
    PacketFilter& filter;
    const bool filtered;
    const AvahiWatchCallback callback;
    void* const userdata;
    AvahiWatch* inner = nullptr;

    static Watch* of(AvahiWatch* watch) { return reinterpret_cast<Watch*>(watch); }
};

PacketFilter::PacketFilter(const AvahiPoll* inner, Observer observer)
    : inner_(inner), observer_(std::move(observer)), filtered_(*inner) {
    filtered_.userdata = this;
    filtered_.watch_new = makeWatch;
    filtered_.watch_update = [](AvahiWatch* watch, AvahiWatchEvent event) {
        Watch::of(watch)->filter.inner_->watch_update(Watch::of(watch)->inner, event);
    };
    filtered_.watch_get_events = [](AvahiWatch* watch) {
        return Watch::of(watch)->filter.inner_->watch_get_events(Watch::of(watch)->inner);
    };
    filtered_.watch_free = [](AvahiWatch* watch) {
        Watch::of(watch)->filter.inner_->watch_free(Watch::of(watch)->inner);
        delete Watch::of(watch);
    };
    filtered_.timeout_new = makeTimeout;
}

AvahiWatch* PacketFilter::makeWatch(const AvahiPoll* api, int descriptor, AvahiWatchEvent event,
                                    AvahiWatchCallback callback, void* userdata) {
    auto* filter = static_cast<PacketFilter*>(api->userdata);
    auto* watch = new Watch{*filter, !isNetlinkSocket(descriptor), callback, userdata};
    watch->inner = filter->inner_->watch_new(filter->inner_, descriptor, event, eventHappened, watch);
    if (watch->inner != nullptr) return reinterpret_cast<AvahiWatch*>(watch);
    delete watch;
    return nullptr;
}

AvahiTimeout* PacketFilter::makeTimeout(const AvahiPoll* api, const timeval* time, AvahiTimeoutCallback callback,
                                        void* userdata) {
    const AvahiPoll* inner = static_cast<PacketFilter*>(api->userdata)->inner_;
    return inner->timeout_new(inner, time, callback, userdata);
}

void PacketFilter::eventHappened(AvahiWatch*, int descriptor, AvahiWatchEvent event, void* watch) {
    auto* happened = static_cast<Watch*>(watch);
    PacketFilter& filter = happened->filter;
    const bool filtered = happened->filtered;
    std::optional<Packet> packet;
    if (filtered) {
        packet = filter.nextPacket(descriptor);
        if (!packet) return;
    }
    filter.readsOfInterfaces_ = !filtered;
    filter.missedInterfaces_ = filter.missedInterfaces_ || (!filtered && hasDropped(descriptor));
    // May free the watch.
    happened->callback(reinterpret_cast<AvahiWatch*>(happened), descriptor, event, happened->userdata);
    filter.readsOfInterfaces_ = false;
    if (packet && !packet->source.empty()) filter.observer_(*packet);
}

std::optional<PacketFilter::Packet> PacketFilter::nextPacket(int descriptor) {
    sockaddr_storage source{};
    iovec bytes{packet_.data(), packet_.size()};
    alignas(cmsghdr) std::array<char, 256> control;
    msghdr message{};
    message.msg_name = &source;
    message.msg_namelen = sizeof source;
    message.msg_iov = &bytes;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    // The true length, however long the packet is.
    const ssize_t size = recvmsg(descriptor, &message, MSG_PEEK | MSG_DONTWAIT | MSG_TRUNC);
    // Nothing to look at, nothing to read; an error has been taken from the socket by asking.
    if (size < 0) return std::nullopt;
    const auto length = static_cast<std::size_t>(size);
    Packet packet{std::span(packet_).first(std::min(length, packet_.size())), {}, interfaceOf(message)};
    if (length > packet_.size() || !passes(packet.bytes)) {
        recv(descriptor, packet_.data(), packet_.size(), MSG_DONTWAIT);
        return std::nullopt;
    }
    const auto v4 = read<sockaddr_in>(&source);
    const auto v6 = read<sockaddr_in6>(&source);
    if (source.ss_family == AF_INET && v4.sin_port == htons(kPort)) {
        packet.protocol = AVAHI_PROTO_INET;
        packet.source = textOf(v4.sin_addr);
    }
    if (source.ss_family == AF_INET6 && v6.sin6_port == htons(kPort)) {
        packet.protocol = AVAHI_PROTO_INET6;
        packet.source = textOf(v6.sin6_addr);
    }
    return packet;
}

bool PacketFilter::passes(std::span<const std::uint8_t> packet) {
    PacketReader reader(packet);
    constexpr std::size_t idAndFlags = 4;
    if (!reader.skip(idAndFlags)) return false;
    const auto questions = reader.number16();
    const auto answers = reader.number16();
    const auto authorities = reader.number16();
    const auto additional = reader.number16();
    if (!additional) return false;
    for (unsigned i = 0; i < *questions; ++i) {
        constexpr std::size_t typeAndClass = 4;
        if (!reader.skipName() || !reader.skip(typeAndClass)) return false;
    }
    for (unsigned i = 0; i < *answers + *authorities + *additional; ++i) {
        if (!reader.skipName()) return false;
        const auto type = reader.number16();
        constexpr std::size_t classAndTimeToLive = 6;
        if (!type || *type == AVAHI_DNS_TYPE_CNAME || !reader.skip(classAndTimeToLive)) return false;
        const auto length = reader.number16();
        if (!length || !reader.skip(*length)) return false;
    }
    return true;
}

}  // namespace velmora
