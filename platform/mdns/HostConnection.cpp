#include "platform/mdns/HostConnection.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <utility>

#include "platform/mdns/Confinement.h"
#include "platform/mdns/MulticastServer.h"

// This header of the C library does not say so itself.
extern "C" {
#include <sys/pidfd.h>
}

namespace velmora {

namespace {

// Messages that are taken in one turn of the loop, which has the network to serve, too.
constexpr int kFramesAtOnce = 64;

// The process at the other end. The connection lasts longer than it when it has forked a child that holds its
// descriptors.
int openHost() {
    ucred peer{};
    socklen_t size = sizeof peer;
    if (getsockopt(kMdnsDescriptor, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0 || peer.pid <= 0) return -1;
    return pidfd_open(peer.pid, 0);
}

}  // namespace

bool HostConnection::exists() {
    int type = 0;
    socklen_t size = sizeof type;
    return getsockopt(kMdnsDescriptor, SOL_SOCKET, SO_TYPE, &type, &size) == 0 && type == SOCK_SEQPACKET;
}

HostConnection::HostConnection(const AvahiPoll* poll, Handler heard)
    : poll_(poll), heard_(std::move(heard)), host_(openHost()) {
    const auto arrived = [](AvahiWatch*, int, AvahiWatchEvent, void* self) {
        static_cast<HostConnection*>(self)->read();
    };
    watch_ = poll_->watch_new(poll_, kMdnsDescriptor, AVAHI_WATCH_IN, arrived, this);
    if (watch_ == nullptr) ended_ = true;
    const auto died = [](AvahiWatch*, int, AvahiWatchEvent, void* self) {
        static_cast<HostConnection*>(self)->ended_ = true;
    };
    if (host_) hostWatch_ = poll_->watch_new(poll_, host_.number(), AVAHI_WATCH_IN, died, this);
}

HostConnection::~HostConnection() {
    for (AvahiWatch* watch : {watch_, hostWatch_}) {
        if (watch != nullptr) poll_->watch_free(watch);
    }
}

void HostConnection::send(const MdnsFrame& frame) {
    const auto bytes = encodeMdnsFrame(frame);
    if (!bytes) return;
    while (!deaf_) {
        const ssize_t sent = ::send(kMdnsDescriptor, bytes->data(), bytes->size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        if (sent >= 0) return;
        if (errno == EAGAIN || errno == ENOBUFS) {
            expectProgressWithin(kNoLimit);
            std::array<pollfd, 2> polled = {{{kMdnsDescriptor, POLLOUT, 0}, {host_.number(), POLLIN, 0}}};
            poll(polled.data(), polled.size(), -1);
            if (polled[1].revents != 0) deaf_ = true;
            expectProgressWithin(kPatience);
        } else if (errno != EINTR) {
            deaf_ = true;  // what the host said before is still to be read
        }
    }
}

void HostConnection::read() {
    std::array<std::uint8_t, kMaximumMdnsFrame + 1> bytes;
    for (int i = 0; i < kFramesAtOnce && !ended_; ++i) {
        const ssize_t size = recv(kMdnsDescriptor, bytes.data(), bytes.size(), MSG_DONTWAIT);
        if (size < 0 && errno == EAGAIN) return;
        // A reset says that the host has left something unread, and comes before what it said last.
        if (size < 0 && (errno == EINTR || errno == ECONNRESET)) continue;
        std::optional<MdnsFrame> frame;
        if (size > 0) frame = decodeMdnsFrame(std::span(bytes).first(static_cast<std::size_t>(size)));
        if (frame) {
            heard_(*frame);
        } else {
            ended_ = true;
        }
    }
}

}  // namespace velmora
