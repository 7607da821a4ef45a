#include "bench/Traffic.h"

#include <linux/tcp.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <filesystem>
#include <string>

#include "bench/Wrong.h"
#include "platform/network/SocketAddress.h"

namespace velmora::bench {

namespace {

bool isConnectedToPort(int descriptor, std::uint16_t port) {
    sockaddr_storage storage{};
    socklen_t length = sizeof storage;
    const auto* const address = reinterpret_cast<const sockaddr*>(&storage);
    if (getpeername(descriptor, reinterpret_cast<sockaddr*>(&storage), &length) != 0) return false;
    return SocketAddress(address, length).port() == port;
}

}  // namespace

Traffic trafficWithPort(std::uint16_t port) {
    Traffic traffic;
    bool found = false;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        const int descriptor = std::stoi(entry.path().filename().string());
        if (!isConnectedToPort(descriptor, port)) continue;
        tcp_info information{};
        socklen_t length = sizeof information;
        if (getsockopt(descriptor, IPPROTO_TCP, TCP_INFO, &information, &length) != 0) continue;
        found = true;
        traffic.bytesSent += information.tcpi_bytes_sent;
        traffic.repliesReceived += information.tcpi_data_segs_in;
    }
    if (!found) throw Wrong("there is no connection to the server at port " + std::to_string(port));
    return traffic;
}

}  // namespace velmora::bench
