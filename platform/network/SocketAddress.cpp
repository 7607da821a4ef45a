#include "platform/network/SocketAddress.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace velmora {

std::optional<SocketAddress> SocketAddress::fromText(std::string_view address, std::uint16_t port,
                                                     std::uint32_t scope) {
    const std::string text(address);
    std::array<std::uint8_t, 16> bytes{};
    if (inet_pton(AF_INET, text.c_str(), bytes.data()) == 1) return fromBytes(std::span(bytes).first(4), port, scope);
    if (inet_pton(AF_INET6, text.c_str(), bytes.data()) == 1) return fromBytes(bytes, port, scope);
    return std::nullopt;
}

SocketAddress SocketAddress::fromBytes(std::span<const std::uint8_t> address, std::uint16_t port, std::uint32_t scope) {
    if (address.size() == 4) {
        sockaddr_in v4{};
        v4.sin_family = AF_INET;
        v4.sin_port = htons(port);
        std::memcpy(&v4.sin_addr, address.data(), sizeof v4.sin_addr);
        return {reinterpret_cast<const sockaddr*>(&v4), sizeof v4};
    }
    sockaddr_in6 v6{};
    v6.sin6_family = AF_INET6;
    v6.sin6_port = htons(port);
    std::memcpy(&v6.sin6_addr, address.data(), std::min(address.size(), sizeof v6.sin6_addr));
    if (IN6_IS_ADDR_LINKLOCAL(&v6.sin6_addr)) v6.sin6_scope_id = scope;
    return {reinterpret_cast<const sockaddr*>(&v6), sizeof v6};
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

SocketAddress SocketAddress::withPort(std::uint16_t port) const {
    SocketAddress address = *this;
    if (family() == AF_INET) reinterpret_cast<sockaddr_in*>(&address.storage_)->sin_port = htons(port);
    if (family() == AF_INET6) reinterpret_cast<sockaddr_in6*>(&address.storage_)->sin6_port = htons(port);
    return address;
}

std::string SocketAddress::text() const {
    char host[NI_MAXHOST] = "?";
    getnameinfo(get(), length_, host, sizeof host, nullptr, 0, NI_NUMERICHOST);
    const std::string name = family() == AF_INET6 ? "[" + std::string(host) + "]" : host;
    return name + ":" + std::to_string(port());
}

bool operator==(const SocketAddress& left, const SocketAddress& right) {
    return std::ranges::equal(left.bytes(), right.bytes());
}

}  // namespace velmora
