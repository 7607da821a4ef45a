// How long a switch server takes for its replies.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "platform/threads/Moment.h"

namespace velmora {

// Times beyond these are not kept, so that a check that repeats itself all day does not fill the memory.
inline constexpr std::size_t kMaximumReplyTimes = 1'000'000;

// One thread at a time.
class ReplyTimes {
  public:
    void add(Seconds time);

    std::size_t count() const { return times_.size(); }
    // The time within which this part of the replies came: 0 the shortest, 0.5 the median, 1 the longest. There must be
    // one.
    Seconds quantile(double part) const;

    struct Bar {
        Seconds below;  // infinite for the last one
        std::size_t count;
    };
    // From the first one to the last one that is not empty.
    std::vector<Bar> histogram() const;

  private:
    std::vector<float> times_;  // in seconds
};

// "0.25 ms", "1.2 s"
std::string timeText(Seconds time);

}  // namespace velmora
