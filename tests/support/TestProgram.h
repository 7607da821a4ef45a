// The frame of every test program: its own network with only `lo`, where allowed; an application; the tests.
#pragma once

#include <gtest/gtest.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <syslog.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/network/NSNetServiceBrowser.h"
#include "tests/support/Sockets.h"

namespace velmora::test {

inline bool enterNetworkOfOurOwn() {
    if (unshare(CLONE_NEWNET) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) return false;
    const Socket socket;
    ifreq request{};
    std::strcpy(request.ifr_name, "lo");
    request.ifr_flags = IFF_UP;
    return ioctl(socket.descriptor(), SIOCSIFFLAGS, &request) == 0;
}

// `Application` is QCoreApplication, or QApplication for tests with windows.
template <typename Application>
int runTests(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    std::printf("network: %s\n",
                enterNetworkOfOurOwn() ? "a namespace of our own" : "the machine's loopback interface");
    // If there is a system log, this opens its descriptor before any test counts descriptors.
    openlog(nullptr, LOG_NDELAY, LOG_USER);
    // Windows use an invisible screen, unless told otherwise.
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    // The machine's Avahi daemon serves the machine's networks, not this one.
    setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent", 1);
    Application application(argc, argv);
    limitNetServicesToInterfaces({"lo"});
    return RUN_ALL_TESTS();
}

}  // namespace velmora::test
