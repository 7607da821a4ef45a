// Notes when a service is first announced on the loopback interface's multicast DNS.
#pragma once

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

namespace velmora::bench {

class AnnouncementWatch {
  public:
    // Watches for the first response that names the service. Throws Wrong when it cannot listen.
    explicit AnnouncementWatch(std::string serviceName);
    AnnouncementWatch(const AnnouncementWatch&) = delete;
    AnnouncementWatch& operator=(const AnnouncementWatch&) = delete;
    ~AnnouncementWatch();

    // Throws Wrong when none has come yet.
    std::chrono::steady_clock::time_point announcedAt() const;

  private:
    void watch();
    void noteResponse();

    const std::string serviceName_;
    const int descriptor_;
    std::atomic<bool> ended_{false};
    std::atomic<std::chrono::steady_clock::rep> announcedAt_{0};
    std::thread thread_;
};

}  // namespace velmora::bench
