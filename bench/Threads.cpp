#include "bench/Threads.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

namespace velmora::bench {

std::vector<pid_t> threadsOf(pid_t process) {
    std::vector<pid_t> threads;
    std::error_code failure;
    std::filesystem::directory_iterator entry("/proc/" + std::to_string(process) + "/task", failure);
    for (; !failure && entry != std::filesystem::directory_iterator(); entry.increment(failure)) {
        threads.push_back(std::stoi(entry->path().filename().string()));
    }
    return threads;
}

std::map<pid_t, ThreadCounts> threadCounts() {
    std::map<pid_t, ThreadCounts> all;
    for (const pid_t thread : threadsOf(getpid())) {
        const std::string folder = "/proc/self/task/" + std::to_string(thread);
        ThreadCounts& counts = all[thread];
        std::ifstream status(folder + "/status");
        for (std::string word; status >> word;) {
            if (word == "voluntary_ctxt_switches:") status >> counts.wakeUps;
        }
        double nanoseconds = 0.0;
        std::ifstream(folder + "/schedstat") >> nanoseconds;
        counts.processorTime = nanoseconds / 1e6;
    }
    return all;
}

std::map<pid_t, ThreadCounts> difference(const std::map<pid_t, ThreadCounts>& before,
                                         const std::map<pid_t, ThreadCounts>& after) {
    std::map<pid_t, ThreadCounts> all;
    for (const auto& [thread, counts] : after) {
        const auto earlier = before.find(thread);
        if (earlier == before.end()) continue;
        all[thread] = {counts.wakeUps - earlier->second.wakeUps, counts.processorTime - earlier->second.processorTime};
    }
    return all;
}

}  // namespace velmora::bench
