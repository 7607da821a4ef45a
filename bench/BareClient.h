// The simplest program for the job: a blocking socket, a line sent, its reply read.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace velmora::bench {

class BareClient {
  public:
    // Connects to that port of 127.0.0.1. Throws Wrong when it cannot.
    explicit BareClient(std::uint16_t port);
    BareClient(const BareClient&) = delete;
    BareClient& operator=(const BareClient&) = delete;
    ~BareClient();

    // Sends the line, which includes its end, and returns the reply without its end. Throws Wrong when none comes.
    std::string_view exchange(std::string_view line);

  private:
    const int descriptor_;
    char reply_[2048];
};

}  // namespace velmora::bench
