// Ports and connections of 127.0.0.1, independent of the code under test. Nothing waits longer than 30 seconds.
#pragma once

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace velmora::test {

inline sockaddr_in socketAddress(std::uint16_t port, const char* host = "127.0.0.1") {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    ::inet_pton(AF_INET, host, &address.sin_addr);
    return address;
}

inline bool isReadable(int descriptor, int milliseconds) {
    pollfd polled{descriptor, POLLIN, 0};
    return ::poll(&polled, 1, milliseconds) == 1;
}

// Owns a blocking socket.
class Socket {
  public:
    explicit Socket(int descriptor = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) : descriptor_(descriptor) {
        const int on = 1;
        const timeval limit{30, 0};
        ::setsockopt(descriptor_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        ::setsockopt(descriptor_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        ::setsockopt(descriptor_, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
    }
    Socket(Socket&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    ~Socket() {
        if (descriptor_ >= 0) ::close(descriptor_);
    }

    int descriptor() const { return descriptor_; }
    bool send(std::string_view bytes) {
        return ::send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
    }
    // This many bytes, or fewer if the other side ends the connection first.
    std::string receive(std::size_t size, int flags = MSG_WAITALL) {
        std::string received(size, '\0');
        const ssize_t count = ::recv(descriptor_, received.data(), size, flags);
        received.resize(static_cast<std::size_t>(std::max<ssize_t>(0, count)));
        return received;
    }

  private:
    int descriptor_;
};

// A port that refuses every connection.
class RefusingPort {
  public:
    RefusingPort() {
        socklen_t length = sizeof address_;
        EXPECT_EQ(::bind(socket_.descriptor(), reinterpret_cast<sockaddr*>(&address_), length), 0);
        ::getsockname(socket_.descriptor(), reinterpret_cast<sockaddr*>(&address_), &length);
    }
    std::uint16_t port() const { return ntohs(address_.sin_port); }

  protected:
    Socket socket_;
    sockaddr_in address_ = socketAddress(0);
};

// The kernel makes this port's connections, so clients wait for an answer until they are accepted.
class ListeningPort : public RefusingPort {
  public:
    explicit ListeningPort(int backlog = 16) { EXPECT_EQ(::listen(socket_.descriptor(), backlog), 0); }
    // The descriptor of the next connection; below 0 when none comes.
    int accept() const { return ::accept4(socket_.descriptor(), nullptr, nullptr, SOCK_CLOEXEC); }
    bool hasConnection() const { return isReadable(socket_.descriptor(), 0); }
};

class TestClient : public Socket {
  public:
    explicit TestClient(std::uint16_t port) {
        const sockaddr_in address = socketAddress(port);
        connected_ = ::connect(descriptor(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    }

    bool connected() const { return connected_; }
    void finishSending() { ::shutdown(descriptor(), SHUT_WR); }
    // Everything until the other side ends the connection; followed by "reset" if that was not a clean end.
    std::string receiveAll() {
        std::string all;
        char buffer[4096];
        ssize_t count;
        while ((count = ::recv(descriptor(), buffer, sizeof buffer, 0)) > 0) {
            all.append(buffer, static_cast<std::size_t>(count));
        }
        return count == 0 ? all : all + "reset";
    }
    // A command and the one read that brings its reply.
    std::string exchange(std::string_view command) {
        return send(std::string(command) + "\n\r") ? receive(2048, 0) : "not sent";
    }

  private:
    bool connected_;
};

}  // namespace velmora::test
