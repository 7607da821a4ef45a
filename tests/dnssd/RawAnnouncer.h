// Announcements of multicast DNS put together byte by byte, for what a well-behaved publisher does not say.
#pragma once

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/Sockets.h"

namespace velmora::test {

// Sends from port 5353 on `lo`.
class RawAnnouncer {
  public:
    using Labels = std::vector<std::string>;
    static inline const Labels kServers{"_matrixswitcher", "_tcp", "local"};
    static Labels server(const std::string& name) { return {name, "_matrixswitcher", "_tcp", "local"}; }

    explicit RawAnnouncer(const char* address = "127.0.0.1") {
        const int on = 1;
        const sockaddr_in source = socketAddress(5353, address);
        setsockopt(socket_.descriptor(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
        setsockopt(socket_.descriptor(), IPPROTO_IP, IP_MULTICAST_IF, &source.sin_addr, sizeof source.sin_addr);
        EXPECT_EQ(bind(socket_.descriptor(), reinterpret_cast<const sockaddr*>(&source), sizeof source), 0);
    }

    // Records of the next packet. A time to live of 0 says goodbye.
    RawAnnouncer& pointer(const std::string& name, std::uint32_t timeToLive = 120) {
        return record(kServers, 12, internet, timeToLive, wireName(server(name)));
    }
    // Takes the place of every other location of the server, and of every other address of the host.
    RawAnnouncer& location(const std::string& name, const Labels& host, std::uint16_t port, std::uint16_t weight = 0,
                           std::uint32_t timeToLive = 120) {
        const std::string numbers = number(weight, 4) + number(port, 2);
        return record(server(name), 33, internetAndFlush, timeToLive, numbers + wireName(host));
    }
    RawAnnouncer& address(const Labels& host, const std::vector<std::uint8_t>& bytes, std::uint32_t timeToLive = 120) {
        const std::uint16_t type = bytes.size() == 4 ? 1 : 28;
        return record(host, type, internetAndFlush, timeToLive, std::string(bytes.begin(), bytes.end()));
    }
    // Says that the host is another one, whose name follows.
    RawAnnouncer& alias(const Labels& host, const Labels& other) {
        return record(host, 5, internetAndFlush, 120, wireName(other));
    }
    // The same records in capitals (and with other times to live), as another program may write them.
    RawAnnouncer& inCapitals() {
        std::ranges::transform(records_, records_.begin(), [](char c) { return 'a' <= c && c <= 'z' ? c - 32 : c; });
        return *this;
    }
    // The packet, an authoritative answer without a question, instead of sending it.
    std::string take() {
        const std::string counts = number(0, 2) + number(std::exchange(count_, 0), 2) + number(0, 4);
        return number(0x8400, 4) + counts + std::exchange(records_, {});
    }
    void send() {
        const std::string packet = take();
        const sockaddr_in group = socketAddress(5353, "224.0.0.251");
        sendto(socket_.descriptor(), packet.data(), packet.size(), 0, reinterpret_cast<const sockaddr*>(&group),
               sizeof group);
    }

  private:
    static constexpr std::uint16_t internet = 1;
    static constexpr std::uint16_t internetAndFlush = 0x8001;

    static std::string number(std::uint32_t value, int bytes) {
        std::string text;
        while (bytes-- > 0) {
            text += static_cast<char>(value >> (8 * bytes));
        }
        return text;
    }
    static std::string wireName(const Labels& labels) {
        std::string name;
        for (const std::string& label : labels) {
            name += static_cast<char>(label.size()) + label;
        }
        return name + '\0';
    }
    RawAnnouncer& record(const Labels& name, std::uint16_t type, std::uint16_t recordClass, std::uint32_t timeToLive,
                         const std::string& data) {
        ++count_;
        records_ += wireName(name) + number(type, 2) + number(recordClass, 2) + number(timeToLive, 4) +
                    number(static_cast<std::uint32_t>(data.size()), 2) + data;
        return *this;
    }

    const Socket socket_{socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)};
    std::uint16_t count_ = 0;
    std::string records_;
};

inline const RawAnnouncer::Labels kHostA{"host-a", "local"}, kHostB{"host-b", "local"};

}  // namespace velmora::test
