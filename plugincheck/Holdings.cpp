#include "plugincheck/Holdings.h"

#include <filesystem>
#include <iterator>

#ifdef VELMORA_SANITIZED
#include <sanitizer/allocator_interface.h>
#else
#include <malloc.h>
#endif

namespace velmora {

namespace {

std::int64_t entriesIn(const char* folder) {
    return std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator());
}

std::int64_t allocatedBytes() {
#ifdef VELMORA_SANITIZED  // the sanitizers have an allocator of their own
    return static_cast<std::int64_t>(__sanitizer_get_current_allocated_bytes());
#else
    const auto allocated = ::mallinfo2();
    return static_cast<std::int64_t>(allocated.uordblks + allocated.hblkhd);
#endif
}

}  // namespace

Holdings holdingsNow() {
    return {entriesIn("/proc/self/task"), entriesIn("/proc/self/fd"), allocatedBytes()};
}

}  // namespace velmora
