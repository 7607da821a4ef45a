// A network that belongs to the calling process alone.
#pragma once

#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>

namespace velmora::test {

// Moves the process into a network namespace with nothing but `lo`, before it has made a thread or a socket. False
// where the machine does not allow it.
inline bool enterNetworkOfOurOwn() {
    if (unshare(CLONE_NEWNET) != 0) return false;
    const int descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (descriptor < 0) return false;
    ifreq request{};
    std::strncpy(request.ifr_name, "lo", sizeof request.ifr_name - 1);
    bool up = ioctl(descriptor, SIOCGIFFLAGS, &request) == 0;
    request.ifr_flags = static_cast<short>(request.ifr_flags | IFF_UP);
    up = up && ioctl(descriptor, SIOCSIFFLAGS, &request) == 0;
    close(descriptor);
    return up;
}

}  // namespace velmora::test
