// A client in another language, which exchanges lines with the server on request and times that itself.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "bench/Process.h"

namespace velmora::bench {

class PeerClient {
  public:
    // The command that starts the client; the server's port, the request and the expected reply are added as arguments.
    PeerClient(std::vector<std::string> command, std::uint16_t port, const std::string& request,
               const std::string& reply);

    pid_t id() const { return process_.id(); }
    // The language and its version, as the client reports them.
    const std::string& language() const { return language_; }
    // Makes this many exchanges, one in flight. Returns the microseconds for all of them.
    double run(int exchanges);

  private:
    Process process_;
    const std::string language_;
};

}  // namespace velmora::bench
