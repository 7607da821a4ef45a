// Reads all values again and again, and tells which have changed.
#pragma once

#include <QTimer>
#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <string>

#include "host/PluginHost.h"
#include "host/terminal/Reading.h"

namespace velmora {

// Main thread. One value at a time, each from the event loop and outside the plugin's operations. A round begins this
// long after the last one has ended, so a slow device is not asked more than it can answer; it stops where the
// connection is lost.
class ValuePoll {
  public:
    using Changed = std::function<void(const std::string& name, const Reading& before, const Reading& now)>;

    // The host outlives it.
    ValuePoll(PluginHost& host, std::chrono::milliseconds pause, Changed changed);
    void start();

  private:
    void goOn();
    void readNext();
    bool canRead() const;
    bool isSame(const std::string& name, const Reading& before, const Reading& now) const;

    PluginHost& host_;
    const std::chrono::milliseconds pause_;
    const Changed changed_;
    QTimer timer_;
    StringList names_;  // of this round; null between two
    std::size_t next_ = 0;
    std::map<std::string, Reading> known_;
};

}  // namespace velmora
