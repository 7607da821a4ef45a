#include "bench/BareClient.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include "bench/Wrong.h"
#include "platform/network/SocketAddress.h"

namespace velmora::bench {

namespace {

constexpr timeval kReplyLimit{10, 0};

}  // namespace

BareClient::BareClient(std::uint16_t port) : descriptor_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    const auto address = *SocketAddress::fromText("127.0.0.1", port);
    if (connect(descriptor_, address.get(), address.length()) != 0) {
        close(descriptor_);
        throw Wrong("no connection to " + address.text());
    }
    const int one = 1;
    setsockopt(descriptor_, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    setsockopt(descriptor_, SOL_SOCKET, SO_RCVTIMEO, &kReplyLimit, sizeof kReplyLimit);
}

BareClient::~BareClient() {
    close(descriptor_);
}

std::string_view BareClient::exchange(std::string_view line) {
    if (send(descriptor_, line.data(), line.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(line.size()))
        throw Wrong("the server does not take a line");
    std::size_t size = 0;
    do {
        const ssize_t count = recv(descriptor_, reply_ + size, sizeof reply_ - size, 0);
        if (count <= 0) throw Wrong("the server does not answer");
        size += static_cast<std::size_t>(count);
    } while (size < 2 || reply_[size - 1] != '\n');
    return {reply_, size - 2};
}

}  // namespace velmora::bench
