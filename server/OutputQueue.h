// The program's output: lines on their way to a descriptor whose reader may be slow or may have stopped. Whoever adds a
// line does not wait.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <thread>

#include "platform/threads/ThreadAnnotations.h"

namespace velmora {

// Any thread may add. Lines go out in order, on a thread of the queue's own. One that could be written only in
// part, because a disk is full, is ended before the next.
class OutputQueue {
  public:
    // The descriptor is not owned.
    explicit OutputQueue(int descriptor);
    OutputQueue(const OutputQueue&) = delete;
    OutputQueue& operator=(const OutputQueue&) = delete;
    // The lines that are left still go out, as long as the reader takes them.
    ~OutputQueue();

    // A line without its end; control characters are made visible. Lines for which there is no room are left out, and
    // counted in a line of their own when there is room again.
    void add(std::string_view line) EXCLUDES(mutex_);

  private:
    void run();
    bool write(std::string_view text);
    bool isEnding() const EXCLUDES(mutex_);

    const int descriptor_;
    mutable Mutex mutex_;
    Condition wake_;
    std::string queued_ GUARDED_BY(mutex_);
    std::size_t leftOut_ GUARDED_BY(mutex_) = 0;
    bool ending_ GUARDED_BY(mutex_) = false;
    bool isCutShort_ = false;  // the last line; queue's thread only
    std::thread thread_;
};

}  // namespace velmora
