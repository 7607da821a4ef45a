#include "platform/threads/EventCount.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <climits>
#include <ctime>

namespace velmora {

namespace {

// The kernel's older call takes a time of two longs. On a 32-bit system whose times have 64 bits only the newer one
// fits.
#if defined(SYS_futex_time64)
constexpr long kFutex = sizeof(time_t) > sizeof(long) ? SYS_futex_time64 : SYS_futex;
#else
constexpr long kFutex = SYS_futex;
#endif

}  // namespace

void EventCount::wait(Ticket ticket, std::chrono::steady_clock::time_point deadline) {
    // The clock of the deadline is the kernel's monotonic one, which FUTEX_WAIT_BITSET counts by.
    const auto moment = std::chrono::duration_cast<std::chrono::nanoseconds>(deadline.time_since_epoch()).count();
    constexpr std::int64_t second = 1'000'000'000;
    const timespec until{static_cast<time_t>(moment / second), static_cast<long>(moment % second)};
    ++waiting_;
    syscall(kFutex, &count_, FUTEX_WAIT_BITSET_PRIVATE, ticket, &until, nullptr, FUTEX_BITSET_MATCH_ANY);
    --waiting_;
}

// A thread that begins to wait counts itself first and is then turned back by the kernel when the count has moved on:
// either it is seen here or it sees the new count.
void EventCount::announce() {
    ++count_;
    if (waiting_ != 0) syscall(kFutex, &count_, FUTEX_WAKE_PRIVATE, INT_MAX, nullptr, nullptr, 0);
}

}  // namespace velmora
