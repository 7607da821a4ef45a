// One operation of the plugin and what came of it, which its result does not tell.
#pragma once

#include <optional>
#include <string>

#include "host/PluginHost.h"
#include "platform/foundation/NSLog.h"

namespace velmora {

// Make it before a value is read or set, and ask it afterwards. Main thread.
class Attempt {
  public:
    explicit Attempt(const PluginHost& host) : host_(host) {}

    // Whether the device has answered as it should; none where the plugin does not tell.
    std::optional<bool> isAnswered() const;
    // Whether it is known that no answer came in time.
    bool ranOutOfTime() const;
    // Why it was refused or not answered. A plugin that does not tell is quoted with the last line that it has logged
    // since.
    std::string reason() const;

  private:
    const PluginHost& host_;
    std::string lastLine_;
    NSLogObservation observation_{[this](const std::string& line) { hear(line); }};
    void hear(const std::string& line);
};

}  // namespace velmora
