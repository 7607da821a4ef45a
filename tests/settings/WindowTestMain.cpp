// As every test program, but with an application object that has windows.
#include <gtest/gtest.h>

#include <QApplication>
#include <cstdio>

#include "platform/network/NSNetServiceBrowser.h"
#include "tests/support/OwnNetwork.h"

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    std::printf("network: %s\n",
                velmora::test::enterNetworkOfOurOwn() ? "a namespace of our own" : "the machine's loopback interface");
    QApplication application(argc, argv);
    application.setStyle("Fusion");
    velmora::limitNetServicesToInterfaces({"lo"});
    return RUN_ALL_TESTS();
}
