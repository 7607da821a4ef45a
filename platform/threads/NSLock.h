// A non-recursive lock that serves as a two-state signal: any thread may give back what another took.
#pragma once

#include <atomic>

#include "platform/threads/EventCount.h"
#include "platform/threads/Moment.h"

namespace velmora {

// Any thread. It must outlive every call, also an unlock() that is still returning when another thread has the lock
// already.
class NSLock {
  public:
    // Takes the lock, however long that lasts; false, with the lock not taken, only when the waiting NSThread is
    // cancelled.
    bool lock();
    // Takes the lock if it is free; answers whether it did.
    bool tryLock();
    // Takes the lock; false when the deadline has passed before it was free.
    bool lockBeforeDate(Date deadline);
    // Gives the lock back; giving back a free one is harmless.
    void unlock();

    // Work that another thread still has to do before it makes sense to wait for the lock. Shared by the two threads;
    // used with one lock only.
    class Errand {
      private:
        friend class NSLock;
        std::atomic<bool> finished_ = false;
    };
    // As lockBeforeDate, but not before the errand is finished: one wait, and one wake-up, for both.
    bool lockAfterErrandBeforeDate(const Errand& errand, Date deadline);
    void finishErrand(Errand& errand);

  private:
    std::atomic<bool> taken_ = false;
    EventCount freed_;
};

}  // namespace velmora
