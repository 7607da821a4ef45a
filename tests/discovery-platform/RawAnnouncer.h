// Announcements of multicast DNS put together byte by byte, for what a well-behaved publisher does not say.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace velmora::test {

// Sends from port 5353 of 127.0.0.1 on `lo`.
class RawAnnouncer {
  public:
    RawAnnouncer();
    RawAnnouncer(const RawAnnouncer&) = delete;
    RawAnnouncer& operator=(const RawAnnouncer&) = delete;
    ~RawAnnouncer();

    using Labels = std::vector<std::string>;
    // Records of the next packet. A time to live of 0 says goodbye.
    RawAnnouncer& pointer(const Labels& type, const Labels& service, std::uint32_t timeToLive = 120);
    // Takes the place of every other location of the service, and of every other address of the host.
    RawAnnouncer& location(const Labels& service, const Labels& host, std::uint16_t port);
    RawAnnouncer& address(const Labels& host, std::array<std::uint8_t, 4> bytes, std::uint32_t timeToLive = 120);
    // Says that the host is another one, whose name follows.
    RawAnnouncer& alias(const Labels& host, const Labels& other);
    void send();
    // The packet instead of sending it.
    std::string take();

  private:
    void record(const Labels& name, std::uint16_t type, std::uint16_t recordClass, std::uint32_t timeToLive,
                const std::string& data);

    int socket_;
    std::uint16_t count_ = 0;
    std::string records_;
};

}  // namespace velmora::test
