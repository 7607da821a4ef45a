// A velmora-switch-server of our own, for as long as this lives.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

namespace velmora::bench {

class ServerProcess {
  public:
    // Starts the program with these arguments and waits until it listens (and, unless told not to, has announced
    // itself); ends the whole benchmark with a message when it does not.
    ServerProcess(const std::string& program, std::vector<std::string> arguments, bool waitForAnnouncement);
    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;
    ~ServerProcess();

    std::uint16_t port() const { return port_; }

  private:
    pid_t process_ = -1;
    std::uint16_t port_ = 0;
};

}  // namespace velmora::bench
