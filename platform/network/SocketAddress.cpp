#include "platform/network/SocketAddress.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <algorithm>
#include <cstring>

namespace velmora {

std::optional<SocketAddress> SocketAddress::fromText(std::string_view address, std::uint16_t port,
                                                     std::uint32_t scope) {
    const std::string text(address);
    sockaddr_in v4{};
    if (inet_pton(AF_INET, text.c_str(), &v4.sin_addr) == 1) {
        v4.sin_family = AF_INET;
        v4.sin_port = htons(port);
        return SocketAddress(reinterpret_cast<const sockaddr*>(&v4), sizeof v4);
    }
    sockaddr_in6 v6{};
    if (inet_pton(AF_INET6, text.c_str(), &v6.sin6_addr) == 1) {
        v6.sin6_family = AF_INET6;
        v6.sin6_port = htons(port);
        v6.sin6_scope_id = scope;
        return SocketAddress(reinterpret_cast<const sockaddr*>(&v6), sizeof v6);
    }
    return std::nullopt;
}

SocketAddress::SocketAddress(const sockaddr* address, socklen_t length)
    : length_(std::min(length, static_cast<socklen_t>(sizeof storage_))) {
    std::memcpy(&storage_, address, length_);
}

std::uint16_t SocketAddress::port() const {
    if (family() == AF_INET) return ntohs(reinterpret_cast<const sockaddr_in*>(&storage_)->sin_port);
    if (family() == AF_INET6) return ntohs(reinterpret_cast<const sockaddr_in6*>(&storage_)->sin6_port);
    return 0;
}

std::string SocketAddress::text() const {
    char buffer[INET6_ADDRSTRLEN] = "?";
    if (family() == AF_INET) {
        inet_ntop(AF_INET, &reinterpret_cast<const sockaddr_in*>(&storage_)->sin_addr, buffer, sizeof buffer);
        return std::string(buffer) + ":" + std::to_string(port());
    }
    if (family() == AF_INET6) {
        inet_ntop(AF_INET6, &reinterpret_cast<const sockaddr_in6*>(&storage_)->sin6_addr, buffer, sizeof buffer);
    }
    return "[" + std::string(buffer) + "]:" + std::to_string(port());
}

bool operator==(const SocketAddress& left, const SocketAddress& right) {
    return std::ranges::equal(left.bytes(), right.bytes());
}

}  // namespace velmora
