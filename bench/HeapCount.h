// What this process does with the heap. The operators new and delete of the whole program, its libraries included, are
// replaced by ones that can count.
#pragma once

#include <cstdint>

namespace velmora::bench {

// Counts while it lives, on all threads; one at a time. Otherwise nothing is counted, so that nobody who is timed pays
// for it.
class HeapCount {
  public:
    HeapCount();
    HeapCount(const HeapCount&) = delete;
    HeapCount& operator=(const HeapCount&) = delete;
    ~HeapCount();

    // Made since then.
    std::int64_t allocations() const;
    // More in use than then, as the allocator rounds them up; below 0 for less.
    std::int64_t bytes() const;
};

}  // namespace velmora::bench
