#include "bench/LoadGenerator.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <string_view>
#include <utility>

#include "bench/Contender.h"
#include "bench/Wrong.h"
#include "platform/network/SocketAddress.h"

namespace velmora::bench {

namespace {

constexpr int kReplyLimit = 10'000;  // milliseconds

}  // namespace

LoadGenerator::LoadGenerator(std::uint16_t port, int clients, std::string request, std::string reply)
    : request_(std::move(request)), reply_(std::move(reply)), poller_(epoll_create1(EPOLL_CLOEXEC)) {
    const auto address = *SocketAddress::fromText("127.0.0.1", port);
    for (int i = 0; i < clients; ++i) {
        const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        clients_.push_back({descriptor});
        const int one = 1;
        setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
        epoll_event event{};
        event.events = EPOLLIN;
        event.data.u32 = static_cast<std::uint32_t>(i);
        if (connect(descriptor, address.get(), address.length()) != 0 ||
            epoll_ctl(poller_, EPOLL_CTL_ADD, descriptor, &event) != 0) {
            throw Wrong("a client has no connection to " + address.text());
        }
    }
}

LoadGenerator::~LoadGenerator() {
    for (const Client& client : clients_) {
        close(client.descriptor);
    }
    close(poller_);
}

double LoadGenerator::run(int exchanges) {
    const auto start = Clock::now();
    int sent = 0;
    for (const Client& client : clients_) {
        send(client);
        ++sent;
    }
    for (int answered = 0; answered < sent;) {
        std::array<epoll_event, 128> events;
        const int count = epoll_wait(poller_, events.data(), static_cast<int>(events.size()), kReplyLimit);
        if (count <= 0) throw Wrong("a server under load does not answer");
        for (int i = 0; i < count; ++i) {
            Client& client = clients_[events[static_cast<std::size_t>(i)].data.u32];
            if (!receive(client)) continue;
            ++answered;
            if (sent == exchanges) continue;
            send(client);
            ++sent;
        }
    }
    return sent / (microsecondsSince(start) / 1e6);
}

void LoadGenerator::send(const Client& client) const {
    if (::send(client.descriptor, request_.data(), request_.size(), MSG_NOSIGNAL) !=
        static_cast<ssize_t>(request_.size()))
        throw Wrong("a server under load takes no request");
}

bool LoadGenerator::receive(Client& client) const {
    char buffer[256];
    const ssize_t count = recv(client.descriptor, buffer, sizeof buffer, 0);
    const std::string_view missing = std::string_view(reply_).substr(client.received);
    if (count <= 0 || !missing.starts_with(std::string_view(buffer, static_cast<std::size_t>(count))))
        throw Wrong("a server under load gives a wrong reply, or none");
    client.received += static_cast<std::size_t>(count);
    if (client.received < reply_.size()) return false;
    client.received = 0;
    return true;
}

}  // namespace velmora::bench
