// Every test program: a network of its own with nothing but `lo` where the machine allows it, an application object,
// then the tests.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <cstdio>

#include "platform/network/NSNetServiceBrowser.h"
#include "tests/support/OwnNetwork.h"

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    std::printf("network: %s\n",
                velmora::test::enterNetworkOfOurOwn() ? "a namespace of our own" : "the machine's loopback interface");
    QCoreApplication application(argc, argv);
    velmora::limitNetServicesToInterfaces({"lo"});
    return RUN_ALL_TESTS();
}
