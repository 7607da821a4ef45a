// Tells a person who presses Ctrl-C while the main thread is blocked in the plugin how to go on.
#pragma once

#include <thread>

namespace velmora {

class Interruption;

// Main thread. When a signal is not handled at once, a thread of its own says on standard error what the program is
// waiting for and how to end it now.
class Patience {
  public:
    // The interruption outlives it.
    explicit Patience(const Interruption& interruption);
    Patience(const Patience&) = delete;
    Patience& operator=(const Patience&) = delete;
    ~Patience();

  private:
    const int end_;  // readable when the thread is to end
    std::thread thread_;
};

}  // namespace velmora
