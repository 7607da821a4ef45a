// An end that comes also when the main thread is blocked.
#pragma once

#include <chrono>
#include <functional>
#include <thread>

#include "platform/threads/Moment.h"
#include "platform/threads/ThreadAnnotations.h"

namespace velmora {

// After a wait, for a main thread that is not blocked to find that it is over.
inline constexpr std::chrono::milliseconds kGrace{500};

// Calls the handler when the time is over, on a thread of its own, unless it goes away before.
class Deadline {
  public:
    Deadline(std::chrono::milliseconds time, std::function<void()> handler);
    Deadline(const Deadline&) = delete;
    Deadline& operator=(const Deadline&) = delete;
    // Waits for a handler that is being called.
    ~Deadline();

  private:
    void wait(Date end, const std::function<void()>& handler);

    Mutex mutex_;
    Condition calledOff_;
    bool isCalledOff_ GUARDED_BY(mutex_) = false;
    std::thread thread_;
};

}  // namespace velmora
