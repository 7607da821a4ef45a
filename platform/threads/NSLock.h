// A non-recursive lock that serves as a two-state signal: any thread may give back what another took.
#pragma once

#include <semaphore.h>

#include <atomic>

#include "platform/threads/Moment.h"

namespace velmora {

// Any thread. It must outlive every call.
class NSLock {
  public:
    NSLock();
    ~NSLock();

    // Takes the lock, however long that lasts; false, with the lock not taken, only when the waiting NSThread is
    // cancelled.
    bool lock();
    // Takes the lock if it is free; answers whether it did.
    bool tryLock();
    // Takes the lock; false when the deadline has passed before it was free.
    bool lockBeforeDate(Date deadline);
    // Gives the lock back; giving back a free one is harmless.
    void unlock();

  private:
    // Has a permit while the lock is free. Never more than one: only who marks the lock as free posts it.
    sem_t permit_;
    // Exchanged by both sides, which also shows the thread sanitizer the way from one holder to the next: it does not
    // know sem_clockwait.
    std::atomic<bool> isFree_ = true;
};

}  // namespace velmora
