#include "platform/mdns/PacketFilter.h"

#include <avahi-common/defs.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstddef>
#include <optional>

namespace velmora {

namespace {

// Reads a DNS packet from front to back; none past its end.
class Reader {
  public:
    explicit Reader(std::span<const std::uint8_t> packet) : rest_(packet) {}

    std::optional<unsigned> number16() {
        if (rest_.size() < 2) return std::nullopt;
        const unsigned value = rest_[0] * 256u + rest_[1];
        rest_ = rest_.subspan(2);
        return value;
    }
    bool skip(std::size_t count) {
        if (rest_.size() < count) return false;
        rest_ = rest_.subspan(count);
        return true;
    }
    // Labels up to an empty one or a reference to an earlier name.
    bool skipName() {
        while (!rest_.empty()) {
            const std::size_t length = rest_[0];
            if (length >= 0xc0) return skip(2);
            if (length > 63 || !skip(1 + length)) return false;
            if (length == 0) return true;
        }
        return false;
    }

  private:
    std::span<const std::uint8_t> rest_;
};

// The kernel alone speaks through it, of interfaces and addresses.
bool isNetlinkSocket(int descriptor) {
    int domain = 0;
    socklen_t length = sizeof domain;
    return getsockopt(descriptor, SOL_SOCKET, SO_DOMAIN, &domain, &length) == 0 && domain == AF_NETLINK;
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

PacketFilter::PacketFilter(const AvahiPoll* inner) : inner_(inner), filtered_(*inner) {
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
    if (happened->filtered && !happened->filter.nextPacketPasses(descriptor)) return;
    happened->callback(reinterpret_cast<AvahiWatch*>(happened), descriptor, event, happened->userdata);
}

bool PacketFilter::nextPacketPasses(int descriptor) {
    // The true length, however long the packet is.
    const ssize_t size = recv(descriptor, packet_.data(), packet_.size(), MSG_PEEK | MSG_DONTWAIT | MSG_TRUNC);
    // Nothing to look at, nothing to read; an error has been taken from the socket by asking.
    if (size < 0) return false;
    const auto length = static_cast<std::size_t>(size);
    if (length <= packet_.size() && passes(std::span(packet_).first(length))) return true;
    recv(descriptor, packet_.data(), packet_.size(), MSG_DONTWAIT);
    return false;
}

bool PacketFilter::passes(std::span<const std::uint8_t> packet) {
    Reader reader(packet);
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
