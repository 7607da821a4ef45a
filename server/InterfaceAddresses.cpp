#include "server/InterfaceAddresses.h"

#include <ifaddrs.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <cerrno>
#include <memory>
#include <thread>
#include <utility>

namespace velmora {

namespace {

constexpr std::chrono::milliseconds kPause{50};

}  // namespace

Result<std::vector<std::string>> addressesOfInterface(std::string_view interface) {
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0) return failureOfSystem(errno);
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner(first, &freeifaddrs);
    std::vector<std::string> addresses;
    for (const auto& [family, length] : {std::pair(AF_INET, sizeof(sockaddr_in)), {AF_INET6, sizeof(sockaddr_in6)}}) {
        for (const ifaddrs* each = first; each != nullptr; each = each->ifa_next) {
            // "eth0:1" is a further address of eth0.
            const std::string_view name(each->ifa_name);
            if (name.substr(0, name.find(':')) != interface) continue;
            if (each->ifa_addr == nullptr || each->ifa_addr->sa_family != family) continue;
            char text[NI_MAXHOST];
            if (getnameinfo(each->ifa_addr, length, text, sizeof text, nullptr, 0, NI_NUMERICHOST) == 0) {
                addresses.emplace_back(text);
            }
        }
    }
    return addresses;
}

bool canListenOn(const std::string& address, Date then) {
    const asio::ip::tcp::endpoint endpoint(asio::ip::make_address(address), 0);
    for (;;) {
        asio::io_context context;
        asio::error_code failure;
        asio::ip::tcp::socket(context, endpoint.protocol()).bind(endpoint, failure);
        if (!failure || std::chrono::steady_clock::now() >= then) return !failure;
        std::this_thread::sleep_for(kPause);
    }
}

bool isReachedThrough(const std::string& address, const std::vector<std::string>& addresses) {
    const auto listening = asio::ip::make_address(address);
    // "::" takes IPv4 clients as well.
    return std::ranges::any_of(addresses, [&listening](const std::string& text) {
        const auto there = asio::ip::make_address(text);
        return listening == there || (listening.is_unspecified() && (listening.is_v6() || there.is_v4()));
    });
}

}  // namespace velmora
