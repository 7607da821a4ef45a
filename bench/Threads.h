// The kernel's counts for each thread of a process.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <map>
#include <vector>

namespace velmora::bench {

std::vector<pid_t> threadsOf(pid_t process);

struct ThreadCounts {
    // How often the thread has gone to sleep by itself, and so has been woken up.
    std::int64_t wakeUps = 0;
    // Processor time in milliseconds.
    double processorTime = 0.0;
};

// The counts of every thread of this process.
std::map<pid_t, ThreadCounts> threadCounts();

// The difference, for the threads that are in both.
std::map<pid_t, ThreadCounts> difference(const std::map<pid_t, ThreadCounts>& before,
                                         const std::map<pid_t, ThreadCounts>& after);

}  // namespace velmora::bench
