// Moments and durations. Every deadline is a moment on the steady clock, which setting the computer's clock does not
// move.
#pragma once

#include <chrono>

namespace velmora {

using Date = std::chrono::steady_clock::time_point;
// What the system's time limits and periods are given in; takes milliseconds and the like as they come.
using Seconds = std::chrono::duration<double>;

// Any thread.
inline Date fromNow(Seconds duration) {
    return std::chrono::steady_clock::now() + std::chrono::duration_cast<Date::duration>(duration);
}
// The same of a plain number of seconds.
inline Date secondsFromNow(double seconds) {
    return fromNow(Seconds(seconds));
}

}  // namespace velmora
