// Moments and durations. Every deadline is a moment on the steady clock, which setting the computer's clock does not
// move.
#pragma once

#include <chrono>
#include <cstdint>
#include <ctime>

namespace velmora {

using Date = std::chrono::steady_clock::time_point;
// For time limits and periods; milliseconds and the like convert to it.
using Seconds = std::chrono::duration<double>;

// Any thread.
inline Date fromNow(Seconds duration) {
    return std::chrono::steady_clock::now() + std::chrono::duration_cast<Date::duration>(duration);
}

// The moment on CLOCK_MONOTONIC, as the system's calls take it.
inline timespec timespecOf(Date moment) {
    constexpr std::int64_t kSecond = 1'000'000'000;
    const std::int64_t nanoseconds = moment.time_since_epoch() / std::chrono::nanoseconds(1);
    return {static_cast<time_t>(nanoseconds / kSecond), static_cast<long>(nanoseconds % kSecond)};
}

}  // namespace velmora
