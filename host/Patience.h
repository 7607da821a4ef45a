// Tells a person who presses Ctrl-C while the main thread is blocked what it is doing.
#pragma once

#include <string>
#include <thread>

namespace velmora {

class Interruption;

// Main thread. When a signal is not handled at once, a thread of its own says so on standard error.
class Patience {
  public:
    // What the program is waiting for, and how to end it now.
    static constexpr const char* kPluginIsAtWork =
        "waiting for the plugin, which is at work and may wait for its device. The program ends when the plugin is "
        "done; once more (Ctrl-C) ends it now, without stopping the plugin in order";

    // The interruption outlives it.
    explicit Patience(const Interruption& interruption, std::string words = kPluginIsAtWork);
    Patience(const Patience&) = delete;
    Patience& operator=(const Patience&) = delete;
    ~Patience();

  private:
    const int end_;  // readable when the thread is to end
    std::thread thread_;
};

}  // namespace velmora
