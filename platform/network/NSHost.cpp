#include "platform/network/NSHost.h"

#include <netdb.h>

#include <memory>

namespace velmora {

std::shared_ptr<NSHost> NSHost::hostWithName(const std::string& name) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (name.empty() || getaddrinfo(name.c_str(), nullptr, &hints, &found) != 0) return nullptr;
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> owned(found, freeaddrinfo);
    std::vector<SocketAddress> addresses;
    for (const addrinfo* entry = found; entry != nullptr; entry = entry->ai_next) {
        addresses.emplace_back(entry->ai_addr, entry->ai_addrlen);
    }
    return std::make_shared<NSHost>(std::move(addresses));
}

}  // namespace velmora
