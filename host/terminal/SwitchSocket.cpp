#include "host/terminal/SwitchSocket.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>

namespace velmora {

Result<void> waitFor(const Descriptor& descriptor, short events, Date end) {
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Date::clock::now()).count();
        if (left <= 0) return failureOfSystem(ETIMEDOUT);
        pollfd ready{descriptor.number(), events, 0};
        const int count = poll(&ready, 1, static_cast<int>(std::min<decltype(left)>(left, 1'000'000)));
        if (count > 0) return {};
        if (count < 0 && errno != EINTR) return failureOfSystem(errno);
    }
}

Result<Descriptor> connectionTo(const SocketAddress& address, Date end) {
    Descriptor descriptor(socket(address.get()->sa_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!descriptor) return failureOfSystem(errno);
    const int on = 1;
    setsockopt(descriptor.number(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    if (connect(descriptor.number(), address.get(), address.length()) == 0) return descriptor;
    if (errno != EINPROGRESS) return failureOfSystem(errno);
    if (const auto waited = waitFor(descriptor, POLLOUT, end); !waited) return waited.failure();
    int error = 0;
    socklen_t size = sizeof error;
    getsockopt(descriptor.number(), SOL_SOCKET, SO_ERROR, &error, &size);
    if (error != 0) return failureOfSystem(error);
    return descriptor;
}

Result<Descriptor> connectionTo(const std::vector<SocketAddress>& addresses, Date end) {
    Result<Descriptor> outcome = Failure{"it was not found within the time (--wait)"};
    for (std::size_t i = 0; i < addresses.size(); ++i) {
        const auto now = Date::clock::now();
        outcome = connectionTo(addresses[i], now + (end - now) / static_cast<int>(addresses.size() - i));
        if (outcome) return outcome;
    }
    return outcome;
}

}  // namespace velmora
