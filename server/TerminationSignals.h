// SIGINT and SIGTERM as a call on the main thread's event loop instead of a sudden end.
#pragma once

#include <QSocketNotifier>
#include <csignal>
#include <functional>
#include <memory>

namespace velmora {

// Made and destroyed on the main thread, before any other thread is started: threads inherit that the signals do not
// reach them directly. After its destruction the signals do what they did before.
class TerminationSignals {
  public:
    // Calls the operation for each signal that comes while the event loop runs, and for one that came before.
    explicit TerminationSignals(std::function<void()> onSignal);
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;
    ~TerminationSignals();

  private:
    sigset_t before_;
    int descriptor_;
    std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace velmora
