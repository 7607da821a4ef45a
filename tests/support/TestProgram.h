// What every test program does: a network of its own, only `lo`, where that is allowed; an application; the tests.
#pragma once

#include <gtest/gtest.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/network/NSNetServiceBrowser.h"

namespace velmora::test {

inline bool enterNetworkOfOurOwn() {
    if (unshare(CLONE_NEWNET) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) return false;
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

// `Application` is QCoreApplication, or QApplication for tests with windows.
template <typename Application>
int runTests(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    std::printf("network: %s\n",
                enterNetworkOfOurOwn() ? "a namespace of our own" : "the machine's loopback interface");
    // An Avahi daemon of the machine serves the machine's networks, not this one.
    setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent", 1);
    Application application(argc, argv);
    limitNetServicesToInterfaces({"lo"});
    return RUN_ALL_TESTS();
}

}  // namespace velmora::test
