// Counts of the system resources that this process holds now, and a limit on them.
#pragma once

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

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

// Leaves this process room for so many more descriptors, until its end.
class DescriptorShortage {
  public:
    explicit DescriptorShortage(int room) {
        getrlimit(RLIMIT_NOFILE, &before_);
        const int next = dup(STDERR_FILENO);  // the lowest number that is free
        close(next);
        const rlimit limit{static_cast<rlim_t>(next + room), before_.rlim_max};
        setrlimit(RLIMIT_NOFILE, &limit);
    }
    DescriptorShortage(const DescriptorShortage&) = delete;
    ~DescriptorShortage() { setrlimit(RLIMIT_NOFILE, &before_); }

  private:
    rlimit before_{};
};

// A joined thread may stay in the kernel's list for a moment.
inline std::ptrdiff_t threads() {
    return entriesIn("/proc/self/task");
}

}  // namespace velmora::test
