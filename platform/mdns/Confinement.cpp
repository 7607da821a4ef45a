#include "platform/mdns/Confinement.h"

#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>

namespace velmora {

namespace {

// Six for the host's connection, the loop and Avahi's sockets; the rest is for what one of the libraries may open for a
// moment.
constexpr rlim_t kDescriptors = 64;
constexpr rlim_t kStack = 8 * 1024 * 1024;
// A full cache (see MulticastServer.cpp) takes some 10 MB for each interface.
[[maybe_unused]] constexpr rlim_t kData = 512 * 1024 * 1024;
[[maybe_unused]] constexpr rlim_t kAddressSpace = 1024 * 1024 * 1024;

template <typename Resource>
void limit(Resource resource, rlim_t most) {
    rlimit now{};
    if (getrlimit(resource, &now) != 0) return;
    now.rlim_max = std::min(now.rlim_max, most);
    now.rlim_cur = std::min(now.rlim_max, most);
    setrlimit(resource, &now);
}

}  // namespace

void confineThisProcess() {
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    limit(RLIMIT_CORE, 0);
    limit(RLIMIT_NOFILE, kDescriptors);
    limit(RLIMIT_STACK, kStack);
    // Sanitizers look at the process from another one, and need more room than there is memory.
#if !defined(VELMORA_SANITIZED)
    // A core dump that is piped to a program ignores the limit. Nor does another process of the same user look inside.
    prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
    limit(RLIMIT_NPROC, 0);
    limit(RLIMIT_DATA, kData);
    limit(RLIMIT_AS, kAddressSpace);
#endif
    [[maybe_unused]] const int held = chdir("/");
    // It ends with the connection alone: whoever ends a service or a session sends these to every process of it, and
    // the goodbyes are still to be said when the host has ended in order.
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        std::signal(signal, SIG_IGN);
    }
}

void expectProgressWithin(std::chrono::seconds time) {
    alarm(static_cast<unsigned>(time.count()));
}

}  // namespace velmora
