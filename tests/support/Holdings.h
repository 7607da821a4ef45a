// Counts of the system resources that this process holds now.
#pragma once

#include <cstddef>
#include <filesystem>
#include <iterator>

namespace velmora::test {

inline std::ptrdiff_t entriesIn(const char* folder) {
    return std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator());
}

inline std::ptrdiff_t openDescriptors() {
    return entriesIn("/proc/self/fd");
}

// A joined thread may stay in the kernel's list for a moment.
inline std::ptrdiff_t threads() {
    return entriesIn("/proc/self/task");
}

}  // namespace velmora::test
