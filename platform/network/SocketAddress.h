// A socket address of the system: a family, an address and a port, as the socket calls take it.
#pragma once

#include <sys/socket.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace velmora {

class SocketAddress {
  public:
    // An IPv4 or IPv6 address from its text and a port in host byte order; none for any other text. A scope is the
    // index of the interface that a link-local IPv6 address belongs to, 0 for none.
    static std::optional<SocketAddress> fromText(std::string_view address, std::uint16_t port, std::uint32_t scope = 0);
    // The same from 4 or 16 bytes in network order. The scope counts for link-local addresses only.
    static SocketAddress fromBytes(std::span<const std::uint8_t> address, std::uint16_t port, std::uint32_t scope);
    SocketAddress(const sockaddr* address, socklen_t length);

    const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&storage_); }
    socklen_t length() const { return length_; }
    int family() const { return storage_.ss_family; }
    // The raw bytes, as many as length() says.
    std::span<const std::uint8_t> bytes() const { return {reinterpret_cast<const std::uint8_t*>(&storage_), length_}; }
    // In host byte order; 0 for a family without ports.
    std::uint16_t port() const;
    SocketAddress withPort(std::uint16_t port) const;
    // As in "127.0.0.1:4000", "[::1]:4000" or "[fe80::1%eth0]:4000".
    std::string text() const;

    friend bool operator==(const SocketAddress& left, const SocketAddress& right);

  private:
    sockaddr_storage storage_{};
    socklen_t length_ = 0;
};

}  // namespace velmora
