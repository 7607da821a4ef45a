// A velmora-switch-server of our own.
#pragma once

#include <cstdint>
#include <string>

#include "bench/Process.h"

namespace velmora::bench {

class SwitchServerProcess {
  public:
    enum class Return { whenListening, whenAnnounced };
    // The matrix has the labels "Input 1" and so on. Throws Wrong when the program does not print what it should.
    SwitchServerProcess(const std::string& name, int inputs, int outputs, Return when = Return::whenAnnounced);

    const std::string& name() const { return name_; }
    pid_t id() const { return process_.id(); }
    std::uint16_t port() const { return port_; }

  private:
    const std::string name_;
    Process process_;
    std::uint16_t port_ = 0;
};

// A different name on each call.
std::string newServerName();

// The path of a program, or of another file, relative to this program's folder.
std::string programBeside(const std::string& name);

}  // namespace velmora::bench
