#include "bench/HeapCount.h"

#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<bool> counting{false};
std::atomic<std::int64_t> allocationsMade{0};
std::atomic<std::int64_t> bytesInUse{0};

void add(std::int64_t allocations, std::int64_t bytes) {
    allocationsMade.fetch_add(allocations, std::memory_order_relaxed);
    bytesInUse.fetch_add(bytes, std::memory_order_relaxed);
}

std::int64_t sizeOf(void* memory) {
    return static_cast<std::int64_t>(malloc_usable_size(memory));
}

}  // namespace

void* operator new(std::size_t size) {
    void* const memory = std::malloc(size);
    if (memory == nullptr) throw std::bad_alloc();
    if (counting.load(std::memory_order_relaxed)) add(1, sizeOf(memory));
    return memory;
}

void operator delete(void* memory) noexcept {
    if (counting.load(std::memory_order_relaxed)) add(0, -sizeOf(memory));
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    operator delete(memory);
}

namespace velmora::bench {

HeapCount::HeapCount() {
    allocationsMade = 0;
    bytesInUse = 0;
    counting = true;
}

HeapCount::~HeapCount() {
    counting = false;
}

std::int64_t HeapCount::allocations() const {
    return allocationsMade;
}

std::int64_t HeapCount::bytes() const {
    return bytesInUse;
}

}  // namespace velmora::bench
