#include "bench/Placement.h"

#include <unistd.h>

#include "bench/Threads.h"

namespace velmora::bench {

namespace {

cpu_set_t only(int core) {
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(core, &set);
    return set;
}

// The cores that the process was given at its start, before any placement.
const cpu_set_t& allowed() {
    static const cpu_set_t set = [] {
        cpu_set_t given;
        sched_getaffinity(0, sizeof given, &given);
        return given;
    }();
    return set;
}

void pin(pid_t process, const cpu_set_t& cores) {
    for (const pid_t thread : threadsOf(process)) {
        // It fails for a thread that has just ended, which does no harm.
        sched_setaffinity(thread, sizeof cores, &cores);
    }
}

}  // namespace

std::vector<Placement> Placement::all() {
    std::vector<int> cores;
    for (int core = 0; core < CPU_SETSIZE; ++core) {
        if (CPU_ISSET(core, &allowed())) cores.push_back(core);
    }
    const Placement together("together", only(cores.back()), only(cores.back()));
    if (cores.size() < 2) return {together};
    return {Placement("apart", only(cores.back()), only(cores.front())), together,
            Placement("free", allowed(), allowed())};
}

void Placement::apply(const std::vector<pid_t>& servers, const std::vector<pid_t>& clients) const {
    for (const pid_t server : servers) {
        pin(server, servers_);
    }
    pin(getpid(), clients_);
    for (const pid_t client : clients) {
        pin(client, clients_);
    }
}

}  // namespace velmora::bench
