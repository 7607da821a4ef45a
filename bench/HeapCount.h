// What this process has on the heap. The operators new and delete of the whole program, its libraries included, are
// replaced by ones that count.
#pragma once

#include <cstdint>

namespace velmora::bench {

struct HeapCount {
    std::int64_t allocations = 0;  // made so far
    std::int64_t bytes = 0;        // in use now, as the allocator rounds them up
};

// Any thread.
HeapCount heapCount();

}  // namespace velmora::bench
