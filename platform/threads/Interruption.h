// SIGINT and SIGTERM as an event of the main loop.
#pragma once

#include <array>
#include <csignal>
#include <functional>
#include <memory>

class QSocketNotifier;

namespace velmora {

// Main thread, one at a time. While it lives each of these signals, when it comes first, calls the handler from the
// event loop instead of ending the process, also when the loop starts only later. The same signal a second time ends
// the process, so that a blocked loop can be interrupted too.
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
