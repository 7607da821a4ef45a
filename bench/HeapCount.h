// Counts this process's use of the heap. It replaces the operators new and delete of the whole program, including its
// libraries.
#pragma once

#include <cstdint>

namespace velmora::bench {

// Counts while it lives, on all threads; only one at a time. Without one nothing is counted, so timings do not suffer.
class HeapCount {
  public:
    HeapCount();
    HeapCount(const HeapCount&) = delete;
    HeapCount& operator=(const HeapCount&) = delete;
    ~HeapCount();

    // Made since the count began.
    std::int64_t allocations() const;
    // Growth in bytes since the count began, as the allocator rounds them up; below 0 when less is in use.
    std::int64_t bytes() const;
};

}  // namespace velmora::bench
