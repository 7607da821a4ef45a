#include "bench/HeapCount.h"

#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::int64_t> allocationsMade{0};
std::atomic<std::int64_t> bytesInUse{0};

}  // namespace

void* operator new(std::size_t size) {
    void* const memory = std::malloc(size);
    if (memory == nullptr) throw std::bad_alloc();
    allocationsMade.fetch_add(1, std::memory_order_relaxed);
    bytesInUse.fetch_add(static_cast<std::int64_t>(malloc_usable_size(memory)), std::memory_order_relaxed);
    return memory;
}

void operator delete(void* memory) noexcept {
    bytesInUse.fetch_sub(static_cast<std::int64_t>(malloc_usable_size(memory)), std::memory_order_relaxed);
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    operator delete(memory);
}

namespace velmora::bench {

HeapCount heapCount() {
    return {allocationsMade, bytesInUse};
}

}  // namespace velmora::bench
