// Work that waits in another thread's queue, and the wait of a thread that wants it done.
#pragma once

#include <functional>
#include <memory>
#include <utility>

#include "platform/threads/NSLock.h"

namespace velmora {

// Whether one piece of work was run. Shared by the one thread that waits and the one that settles it.
class WorkOutcome {
  public:
    WorkOutcome() { settled_.tryLock(); }

    // Once, when the work has been run, or dropped unrun.
    void settle(bool wasRun) {
        wasRun_ = wasRun;
        settled_.unlock();
    }
    // False when the deadline passes first.
    bool waitBeforeDate(Date deadline) { return settled_.lockBeforeDate(deadline); }
    // Known after the wait.
    bool wasRun() const { return wasRun_; }

  private:
    NSLock settled_;
    bool wasRun_ = false;
};

// Every piece that somebody waits for is run or dropped by the thread whose queue it is in. The work is destroyed
// before its outcome is told, because it may refer to what the waiting thread holds.
struct QueuedWork {
    std::function<void()> work;
    // Null where nobody waits.
    std::shared_ptr<WorkOutcome> outcome;

    void run() {
        work();
        settle(true);
    }
    void drop() { settle(false); }

  private:
    void settle(bool wasRun) {
        work = nullptr;
        if (outcome != nullptr) outcome->settle(wasRun);
    }
};

}  // namespace velmora
