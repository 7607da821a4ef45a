// The log's lines on their way from the threads that write them to the main thread.
#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <string>

#include "platform/foundation/NSLog.h"

namespace velmora {

// Main thread. Lines wait for the main thread's event loop; when there are too many, the oldest are dropped.
class LogFeed {
  public:
    static constexpr std::size_t kWaitingLines = 1000;
    using Lines = std::deque<std::string>;

    // `receive` is called on the main thread, from the event loop, with what has come in since, each line after its
    // time.
    explicit LogFeed(std::function<void(const Lines&)> receive);
    // No call follows.
    ~LogFeed();
    LogFeed(const LogFeed&) = delete;
    LogFeed& operator=(const LogFeed&) = delete;

  private:
    struct Queue;
    const std::shared_ptr<Queue> queue_;
    const NSLogObservation observation_;
};

}  // namespace velmora
