#include "bench/AnnouncementWatch.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string_view>

#include "bench/Wrong.h"

namespace velmora::bench {

namespace {

constexpr std::uint16_t kMulticastDnsPort = 5353;
constexpr const char* kMulticastDnsGroup = "224.0.0.251";
constexpr int kLookForEnd = 50;  // milliseconds
constexpr std::size_t kHeaderSize = 12;

// Shares the port with every other program on this machine that speaks multicast DNS.
int listeningSocket() {
    const int descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const int one = 1;
    setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    setsockopt(descriptor, SOL_SOCKET, SO_REUSEPORT, &one, sizeof one);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(kMulticastDnsPort);
    inet_pton(AF_INET, kMulticastDnsGroup, &address.sin_addr);
    ip_mreqn membership{};
    membership.imr_multiaddr = address.sin_addr;
    membership.imr_ifindex = static_cast<int>(if_nametoindex("lo"));
    if (bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        setsockopt(descriptor, IPPROTO_IP, IP_ADD_MEMBERSHIP, &membership, sizeof membership) != 0) {
        close(descriptor);
        throw Wrong("cannot listen to multicast DNS on lo");
    }
    return descriptor;
}

}  // namespace

AnnouncementWatch::AnnouncementWatch(std::string serviceName)
    : serviceName_(std::move(serviceName)), descriptor_(listeningSocket()), thread_([this] { watch(); }) {}

AnnouncementWatch::~AnnouncementWatch() {
    ended_ = true;
    thread_.join();
    close(descriptor_);
}

std::chrono::steady_clock::time_point AnnouncementWatch::announcedAt() const {
    if (announcedAt_ == 0) throw Wrong("\"" + serviceName_ + "\" was not announced");
    return std::chrono::steady_clock::time_point(std::chrono::steady_clock::duration(announcedAt_));
}

void AnnouncementWatch::watch() {
    while (!ended_ && announcedAt_ == 0) {
        pollfd polled{descriptor_, POLLIN, 0};
        if (poll(&polled, 1, kLookForEnd) == 1) noteResponse();
    }
}

void AnnouncementWatch::noteResponse() {
    char packet[9000];
    const ssize_t size = recv(descriptor_, packet, sizeof packet, 0);
    if (size < static_cast<ssize_t>(kHeaderSize)) return;
    // The service probes for its name first, with questions.
    const bool isResponse = (static_cast<unsigned char>(packet[2]) & 0x80U) != 0;
    const std::string_view bytes(packet, static_cast<std::size_t>(size));
    if (isResponse && bytes.find(serviceName_) != std::string_view::npos)
        announcedAt_ = std::chrono::steady_clock::now().time_since_epoch().count();
}

}  // namespace velmora::bench
