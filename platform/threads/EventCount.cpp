#include "platform/threads/EventCount.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <climits>
#include <ctime>

namespace velmora {

void EventCount::wait(Ticket ticket, std::chrono::steady_clock::time_point deadline) {
    // The clock of the deadline is the kernel's monotonic one, which FUTEX_WAIT_BITSET counts by.
    const auto moment = std::chrono::duration_cast<std::chrono::nanoseconds>(deadline.time_since_epoch()).count();
    constexpr std::int64_t second = 1'000'000'000;
    const timespec until{static_cast<time_t>(moment / second), static_cast<long>(moment % second)};
    ++waiting_;
    syscall(SYS_futex, &count_, FUTEX_WAIT_BITSET_PRIVATE, ticket, &until, nullptr, FUTEX_BITSET_MATCH_ANY);
    --waiting_;
}

// A thread that begins to wait counts itself first and is then turned back by the kernel when the count has moved on:
// either it is seen here or it sees the new count.
void EventCount::announce() {
    ++count_;
    if (waiting_ != 0) syscall(SYS_futex, &count_, FUTEX_WAKE_PRIVATE, INT_MAX, nullptr, nullptr, 0);
}

}  // namespace velmora
