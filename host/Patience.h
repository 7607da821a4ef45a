// What a person is told whose Ctrl-C meets a main thread that is blocked in the plugin.
#pragma once

#include <thread>

namespace velmora {

class Interruption;

// Main thread. While it lives, and the main thread does not come to a signal at once, a thread of its own says on
// standard error what is waited for and how to end now.
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
