#include "tests/discovery-platform/RawAnnouncer.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <utility>

namespace velmora::test {

namespace {

constexpr std::uint16_t internet = 1;
constexpr std::uint16_t internetAndFlush = 0x8001;

std::string number(std::uint32_t value, int bytes) {
    std::string text;
    while (bytes-- > 0)
        text += static_cast<char>(value >> (8 * bytes));
    return text;
}

std::string wireName(const RawAnnouncer::Labels& labels) {
    std::string name;
    for (const std::string& label : labels)
        name += static_cast<char>(label.size()) + label;
    return name + '\0';
}

sockaddr_in addressOf(const char* text) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(5353);
    inet_pton(AF_INET, text, &address.sin_addr);
    return address;
}

}  // namespace

RawAnnouncer::RawAnnouncer() : socket_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    const int on = 1;
    setsockopt(socket_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    setsockopt(socket_, SOL_SOCKET, SO_REUSEPORT, &on, sizeof on);
    const sockaddr_in source = addressOf("127.0.0.1");
    setsockopt(socket_, IPPROTO_IP, IP_MULTICAST_IF, &source.sin_addr, sizeof source.sin_addr);
    EXPECT_EQ(bind(socket_, reinterpret_cast<const sockaddr*>(&source), sizeof source), 0);
}

RawAnnouncer::~RawAnnouncer() {
    close(socket_);
}

void RawAnnouncer::record(const Labels& name, std::uint16_t type, std::uint16_t recordClass, std::uint32_t timeToLive,
                          const std::string& data) {
    ++count_;
    records_ += wireName(name) + number(type, 2) + number(recordClass, 2) + number(timeToLive, 4) +
                number(static_cast<std::uint32_t>(data.size()), 2) + data;
}

RawAnnouncer& RawAnnouncer::pointer(const Labels& type, const Labels& service, std::uint32_t timeToLive) {
    record(type, 12, internet, timeToLive, wireName(service));
    return *this;
}

RawAnnouncer& RawAnnouncer::location(const Labels& service, const Labels& host, std::uint16_t port) {
    record(service, 33, internetAndFlush, 120, number(0, 4) + number(port, 2) + wireName(host));
    return *this;
}

RawAnnouncer& RawAnnouncer::address(const Labels& host, std::array<std::uint8_t, 4> bytes, std::uint32_t timeToLive) {
    record(host, 1, internetAndFlush, timeToLive, std::string(bytes.begin(), bytes.end()));
    return *this;
}

RawAnnouncer& RawAnnouncer::alias(const Labels& host, const Labels& other) {
    record(host, 5, internetAndFlush, 120, wireName(other));
    return *this;
}

std::string RawAnnouncer::take() {
    // An authoritative answer without a question.
    const std::string header = number(0x8400, 4) + number(0, 2) + number(std::exchange(count_, 0), 2) + number(0, 4);
    return header + std::exchange(records_, {});
}

void RawAnnouncer::send() {
    const std::string packet = take();
    const sockaddr_in group = addressOf("224.0.0.251");
    EXPECT_EQ(sendto(socket_, packet.data(), packet.size(), 0, reinterpret_cast<const sockaddr*>(&group), sizeof group),
              static_cast<ssize_t>(packet.size()));
}

}  // namespace velmora::test
