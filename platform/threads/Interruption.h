// SIGINT, SIGTERM and SIGHUP as an event of the main loop.
#pragma once

#include <array>
#include <csignal>
#include <functional>
#include <memory>

class QSocketNotifier;

namespace velmora {

// Main thread, one at a time. While it lives these signals call the handler from the event loop instead of ending the
// process, also when the loop starts only later. A SIGHUP that was ignored before stays ignored. Where no descriptor is
// left for it, the signals do what they did before.
class Interruption {
  public:
    // A second signal, of the same kind or another, either ends the process, so that a blocked loop can be interrupted,
    // too, or calls the handler again, so that an orderly end that has begun is not cut short. SIGHUP never ends the
    // process: a terminal that is closed often sends two.
    enum class Second { endsProcess, callsAgain };

    explicit Interruption(std::function<void()> handler, Second second = Second::endsProcess);
    // Restores what the signals did before.
    ~Interruption();

    // Readable from a signal until the handler is called; for code that must notice a signal while the event loop is
    // blocked. Stays open for ever; -1 where none was left.
    int descriptor() const;
    // The latest one, handled or not; 0 when none has come.
    int signal() const;

  private:
    std::unique_ptr<QSocketNotifier> notifier_;
    std::array<struct sigaction, 3> earlier_;
};

}  // namespace velmora
