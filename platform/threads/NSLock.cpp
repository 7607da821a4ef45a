#include "platform/threads/NSLock.h"

#include "platform/threads/NSThread.h"

namespace velmora {

namespace {
// How soon a thread that waits for the lock sees that it was cancelled.
constexpr std::chrono::milliseconds kCancelLook{200};
}  // namespace

bool NSLock::lock() {
    MutexLock hold(mutex_);
    while (taken_) {
        if (NSThread::currentThreadIsCancelled()) return false;
        freed_.wait_for(hold, kCancelLook);
    }
    taken_ = true;
    return true;
}

bool NSLock::tryLock() {
    MutexLock hold(mutex_);
    if (taken_) return false;
    taken_ = true;
    return true;
}

bool NSLock::lockBeforeDate(Date deadline) {
    Errand none;
    none.finished_ = true;
    return lockAfterErrandBeforeDate(none, deadline);
}

bool NSLock::lockAfterErrandBeforeDate(const Errand& errand, Date deadline) {
    MutexLock hold(mutex_);
    while (taken_ || !errand.finished_) {
        if (std::chrono::steady_clock::now() >= deadline) return false;
        freed_.wait_until(hold, deadline);
    }
    taken_ = true;
    return true;
}

void NSLock::finishErrand(Errand& errand) {
    bool free = false;
    {
        MutexLock hold(mutex_);
        errand.finished_ = true;
        free = !taken_;
    }
    if (free) freed_.notify_all();
}

void NSLock::unlock() {
    {
        MutexLock hold(mutex_);
        taken_ = false;
    }
    freed_.notify_one();
}

}  // namespace velmora
