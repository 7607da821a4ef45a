// A plain blocking TCP client for tests, independent of the code under test. Waits at most 30 seconds for anything.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace velmora::test {

class TestClient {
  public:
    explicit TestClient(std::uint16_t port) : descriptor_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        const int on = 1;
        const timeval limit{30, 0};
        ::setsockopt(descriptor_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        ::setsockopt(descriptor_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        ::setsockopt(descriptor_, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(port);
        connected_ = ::connect(descriptor_, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    }
    TestClient(TestClient&& other) noexcept
        : descriptor_(std::exchange(other.descriptor_, -1)), connected_(other.connected_) {}
    ~TestClient() {
        if (descriptor_ >= 0) ::close(descriptor_);
    }

    bool connected() const { return connected_; }
    bool send(std::string_view bytes) {
        return ::send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
    }
    // What the kernel takes at once, in bytes; 0 when it takes none.
    std::size_t sendWithoutWaiting(std::string_view bytes) {
        return static_cast<std::size_t>(
            std::max<ssize_t>(0, ::send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT)));
    }
    void finishSending() { ::shutdown(descriptor_, SHUT_WR); }
    // So many bytes, or fewer where the other side ends the connection before.
    std::string receive(std::size_t size) {
        std::string received(size, '\0');
        const ssize_t count = ::recv(descriptor_, received.data(), size, MSG_WAITALL);
        received.resize(static_cast<std::size_t>(std::max<ssize_t>(0, count)));
        return received;
    }
    // Everything until the other side ends the connection; "reset" behind it where that is no orderly end.
    std::string receiveAll() {
        std::string all;
        char buffer[4096];
        ssize_t count;
        while ((count = ::recv(descriptor_, buffer, sizeof buffer, 0)) > 0)
            all.append(buffer, static_cast<std::size_t>(count));
        return count == 0 ? all : all + "reset";
    }
    // A command and the one read that brings its reply.
    std::string exchange(std::string_view command) {
        if (!send(std::string(command) + "\n\r")) return "not sent";
        char buffer[2048];
        const ssize_t count = ::recv(descriptor_, buffer, sizeof buffer, 0);
        return count < 0 ? "no reply" : std::string(buffer, static_cast<std::size_t>(count));
    }

  private:
    int descriptor_;
    bool connected_;
};

}  // namespace velmora::test
