// A service published by another process, which can be ended in order or killed.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>

namespace velmora::test {

class PeerProcess {
  public:
    // Returns when the service is announced.
    PeerProcess(const std::string& type, const std::string& name, std::uint16_t port);
    PeerProcess(const PeerProcess&) = delete;
    PeerProcess& operator=(const PeerProcess&) = delete;
    ~PeerProcess() { end(); }

    // As the process reports it; empty when it does not within 30 seconds.
    const std::string& publishedName() const { return publishedName_; }
    // Withdraws the service.
    void end();
    // Says no goodbye.
    void kill();

  private:
    void reap();

    pid_t process_ = -1;
    int input_ = -1;   // its standard input
    int output_ = -1;  // its standard output
    std::string publishedName_;
};

}  // namespace velmora::test
