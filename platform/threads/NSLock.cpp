#include "platform/threads/NSLock.h"

#include "platform/threads/NSThread.h"

namespace velmora {

namespace {
// How soon a thread that waits for the lock sees that it was cancelled.
constexpr std::chrono::milliseconds kCancelLook{200};
}  // namespace

bool NSLock::lock() {
    while (true) {
        const auto ticket = freed_.ticket();
        if (tryLock()) return true;
        if (NSThread::currentThreadIsCancelled()) return false;
        freed_.wait(ticket, std::chrono::steady_clock::now() + kCancelLook);
    }
}

bool NSLock::tryLock() {
    return !taken_.exchange(true);
}

bool NSLock::lockBeforeDate(Date deadline) {
    Errand none;
    none.finished_ = true;
    return lockAfterErrandBeforeDate(none, deadline);
}

bool NSLock::lockAfterErrandBeforeDate(const Errand& errand, Date deadline) {
    while (true) {
        const auto ticket = freed_.ticket();
        if (errand.finished_ && tryLock()) return true;
        if (std::chrono::steady_clock::now() >= deadline) return false;
        freed_.wait(ticket, deadline);
    }
}

void NSLock::finishErrand(Errand& errand) {
    errand.finished_ = true;
    if (!taken_) freed_.announce();  // otherwise whoever gives the lock back does
}

void NSLock::unlock() {
    taken_ = false;
    freed_.announce();
}

}  // namespace velmora
