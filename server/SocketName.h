// The text of an address and port: "127.0.0.1:4000", "[::1]:4000".
#pragma once

#include <asio/ip/tcp.hpp>
#include <string>

namespace velmora {

inline std::string socketName(const asio::ip::tcp::endpoint& endpoint) {
    const std::string address = endpoint.address().to_string();
    return (endpoint.address().is_v6() ? "[" + address + "]" : address) + ":" + std::to_string(endpoint.port());
}

}  // namespace velmora
