#include "platform/threads/NSLock.h"

#include <cerrno>

#include "platform/threads/NSThread.h"

namespace velmora {

namespace {
// A thread that waits for the lock sees within this time that it was cancelled.
constexpr Seconds kCancellationPeriod{0.2};
}  // namespace

NSLock::NSLock() {
    sem_init(&permit_, 0, 1);
}

NSLock::~NSLock() {
    sem_destroy(&permit_);
}

bool NSLock::lock() {
    while (!tryLock()) {
        if (NSThread::currentThreadIsCancelled()) return false;
        if (lockBeforeDate(fromNow(kCancellationPeriod))) return true;
    }
    return true;
}

bool NSLock::tryLock() {
    if (sem_trywait(&permit_) != 0) return false;
    isFree_.exchange(false);
    return true;
}

bool NSLock::lockBeforeDate(Date deadline) {
    const timespec until = timespecOf(deadline);
    while (sem_clockwait(&permit_, CLOCK_MONOTONIC, &until) != 0) {
        if (errno != EINTR) return false;
    }
    isFree_.exchange(false);
    return true;
}

void NSLock::unlock() {
    if (!isFree_.exchange(true)) sem_post(&permit_);
}

}  // namespace velmora
