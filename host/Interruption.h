// SIGINT and SIGTERM as an event of the main loop.
#pragma once

#include <QSocketNotifier>
#include <array>
#include <csignal>
#include <functional>
#include <memory>

namespace velmora {

// Main thread, one at a time. While it lives the first of these signals calls the handler from the event loop instead
// of ending the process; a second one ends it, so that a blocked loop can be interrupted too.
class Interruption {
  public:
    explicit Interruption(std::function<void()> handler);
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;
    // Restores what the signals did before.
    ~Interruption();

  private:
    int descriptor_;
    std::unique_ptr<QSocketNotifier> notifier_;
    std::array<struct sigaction, 2> earlier_;
};

}  // namespace velmora
