// Discovery without a daemon, on `lo`: the program that listens to the network dies, hangs or cannot be started, and is
// started again.
#include <gtest/gtest.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tests/dnssd/DiscoveryFixture.h"
#include "tests/dnssd/RawAnnouncer.h"
#include "tests/support/Holdings.h"
#include "tests/support/LogLines.h"
#include "tests/support/Sockets.h"
#include "transport/SwitchTelnetController.h"

namespace velmora::test {
namespace {

const char* const kEnded = "velmora-mdns has ended unexpectedly, it is started again";

// Those that listen to the network for this process.
void signalPrograms(int signal) {
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        if (read_symlink(entry, gone).native().find("pidfd") == std::string::npos) continue;
        syscall(SYS_pidfd_send_signal, std::stoi(entry.path().filename()), signal, nullptr, 0);
    }
}

// Whatever becomes of the program that listens to the network, in the host nothing is to be seen of it but a log line.
TEST_F(Discovery, programThatDiesOrHangsIsReplacedAndIsNoChildOfTheHost) {
    static std::atomic<int> childSignals;
    const auto before = std::signal(SIGCHLD, [](int) { ++childSignals; });
    LogLines log;
    ServiceWatch watcher;
    std::vector<std::unique_ptr<NSNetService>> services;
    const auto announces = [&](const char* name) {
        services.push_back(std::make_unique<NSNetService>("", kType, name, 4711));
        services.back()->publish();
        return isTold(watcher, {std::string("found ") + name, std::string("resolved ") + name});
    };
    const auto isReplacedAfter = [&](int signal, const char* line) {
        EXPECT_EQ(waitpid(-1, nullptr, 0), -1);  // would block for a child
        EXPECT_EQ(errno, ECHILD);
        signalPrograms(signal);
        return runMainLoopUntil([&] { return log.count(line) == 1; });
    };
    ASSERT_TRUE(announces("First"));
    ASSERT_TRUE(isReplacedAfter(SIGABRT, kEnded));
    ASSERT_TRUE(announces("Second"));
    ASSERT_TRUE(isReplacedAfter(SIGSTOP, "velmora-mdns does not answer, it is started again"));
    ASSERT_TRUE(announces("Third"));
    // More changes of an interface than the kernel keeps for one that stands still: what it knows of them is not true.
    signalPrograms(SIGSTOP);
    const Socket socket;
    ifreq request{.ifr_ifrn = {"lo"}, .ifr_ifru = {}};
    for (int change = 1; change <= 2000; ++change) {
        request.ifr_flags = static_cast<short>(change % 2 == 0 ? IFF_UP : IFF_UP | IFF_ALLMULTI);
        ASSERT_EQ(ioctl(socket.descriptor(), SIOCSIFFLAGS, &request), 0);
    }
    signalPrograms(SIGCONT);
    EXPECT_TRUE(runMainLoopUntil([&] { return log.count(kEnded) == 2; }));
    ASSERT_TRUE(announces("Fourth"));
    std::signal(SIGCHLD, before);
    EXPECT_EQ(childSignals, 0);
}

// Nobody hears the goodbye of a server that restarts while the program is away.
TEST_F(Discovery, afterADoubtAServiceIsFoundAgainIfTheConnectionToItHasEnded) {
    const ListeningPort server;
    RawAnnouncer announcer;
    ServiceWatch watcher;
    LogLines log;
    int markers = 0;
    // News arrives in order, so what was told of the router is there before the marker.
    const auto isAnnouncedAnew = [&](Strings expected) {
        const std::string name = "Marker " + std::to_string(++markers);
        EXPECT_TRUE(runMainLoopUntil([&] {
            announcer.pointer("Router").location("Router", kHostA, server.port()).pointer(name);
            announcer.location(name, kHostA, 1).address(kHostA, {127, 0, 0, 1}).send();
            return std::ranges::count(watcher.events, "resolved " + name) == 1;
        }));
        std::erase(watcher.events, "found " + name);
        std::erase(watcher.events, "resolved " + name);
        return isTold(watcher, expected);
    };
    std::shared_ptr<SwitchTelnetController> controller;
    const auto connect = [&] {
        if (controller != nullptr) controller->closeStreams();
        controller = std::make_shared<SwitchTelnetController>(TelnetTimeLimits{.reply = Seconds(0.5)});
        controller->startConnectionWithNetService(watcher.services.at("Router"));
        return std::make_unique<Socket>(server.accept());
    };
    const auto isAway = [&] {
        const auto before = log.count(kEnded);
        signalPrograms(SIGKILL);
        return runMainLoopUntil([&] { return log.count(kEnded) > before; });
    };
    ASSERT_TRUE(isAnnouncedAnew(kFoundRouter));
    // Without a doubt the end of a connection is no news.
    connect();
    EXPECT_TRUE(isAnnouncedAnew({}));
    // It ends after the announcement is confirmed, or before.
    auto connection = connect();
    ASSERT_TRUE(isAway() && isAnnouncedAnew({}));
    connection = nullptr;
    ASSERT_TRUE(isTold(watcher, kFoundRouter));
    connect();
    ASSERT_TRUE(isAway() && isAnnouncedAnew(kFoundRouter));
    // A server that does not answer is given up.
    connection = connect();
    controller->processCommandSynchronously(std::make_shared<SwitchTelnetCommand>());
    EXPECT_FALSE(controller->isConnected());
    ASSERT_TRUE(isAway() && isAnnouncedAnew(kFoundRouter));
    // Our own end is no news either.
    connection = connect();
    ASSERT_TRUE(isAway());
    controller->closeStreams();
    EXPECT_TRUE(isAnnouncedAnew({}));
    EXPECT_TRUE(NSThread::finishCancelledThreads(Seconds(5)));
}

TEST_F(Discovery, aSearchThatIsBegunWithoutDescriptorsBeginsByItselfWhenThereAreSome) {
    const std::string reason = "the process has no descriptors or threads left";
    const ServerProcess server("Router");
    const auto descriptors = openDescriptors();
    LogLines log;
    // For half of the loop; for the loop, but not for the thread.
    auto shortage = std::make_unique<DescriptorShortage>(2);
    ServiceWatch watcher;
    shortage = nullptr;
    shortage = std::make_unique<DescriptorShortage>(4);
    ServiceWatch released;
    released.browser.stop();
    NSNetService service("", kType, "Own", 4711);
    service.setDelegate(&released);
    service.publish();
    EXPECT_TRUE(isTold(released, {"not published: " + reason}));
    EXPECT_EQ(openDescriptors(), descriptors);
    EXPECT_EQ(log.lines(), Strings{"Services cannot be discovered now, trying again: " + reason});
    shortage = nullptr;
    EXPECT_TRUE(isTold(watcher, kFoundRouter));
    EXPECT_EQ(released.events, Strings());
}

}  // namespace
}  // namespace velmora::test
