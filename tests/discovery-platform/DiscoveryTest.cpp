// Discovery without a daemon, on `lo`: what browsers and services are told when servers come, move, vanish and go.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <tuple>

#include "platform/network/NSNetServiceBrowser.h"
#include "platform/network/discovery/PacketScreen.h"
#include "tests/discovery-platform/RawAnnouncer.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/MainLoop.h"
#include "tests/support/Sockets.h"
#include "transport/SwitchTelnetController.h"

namespace velmora::test {
namespace {

using Strings = std::vector<std::string>;

// Writes down what it is told, and resolves what it finds for the first time.
class Watcher final : public NSNetServiceBrowserDelegate, public NSNetServiceDelegate {
  public:
    explicit Watcher(const std::string& type, double resolveTimeout = 10.0) : timeout(resolveTimeout) {
        browser.setDelegate(this);
        browser.searchForServicesOfTypeInDomain(type, "");
    }

    void netServiceBrowserDidFindServiceMoreComing(NSNetServiceBrowser&, const std::shared_ptr<NSNetService>& service,
                                                   bool) override {
        events.push_back("found " + service->name());
        if (!services.emplace(service->name(), service).second) return;
        service->setDelegate(this);
        service->resolveWithTimeout(timeout);
    }
    void netServiceBrowserDidRemoveServiceMoreComing(NSNetServiceBrowser&, const std::shared_ptr<NSNetService>& service,
                                                     bool) override {
        EXPECT_TRUE(services.at(service->name())->isEqual(*service));
        services.erase(service->name());
        events.push_back("removed " + service->name());
    }
    void netServiceDidResolveAddress(NSNetService& service) override { events.push_back("resolved " + service.name()); }
    void netServiceDidNotResolve(NSNetService& service) override { events.push_back("not resolved " + service.name()); }
    void netServiceDidPublish(NSNetService& service) override { events.push_back("published " + service.name()); }
    void netServiceDidNotPublish(NSNetService&, const std::string& reason) override {
        events.push_back("not published: " + reason);
    }

    bool waitForEvents(std::size_t count) {
        return runMainLoopUntil([&] { return events.size() >= count; });
    }
    Strings addressesOf(const std::string& name) const {
        Strings texts;
        for (const SocketAddress& address : services.at(name)->addresses())
            texts.push_back(address.text());
        return texts;
    }

    const double timeout;
    NSNetServiceBrowser browser;
    std::map<std::string, std::shared_ptr<NSNetService>> services;
    Strings events;
};

// Types of their own keep what one test leaves in caches from the next.
std::string uniqueType() {
    static int tests = 0;
    return "_v" + std::to_string(getpid()) + "-" + std::to_string(++tests) + "._tcp.";
}

// A service published by another process, from when it is announced on.
class PeerProcess : public ChildProcess {
  public:
    PeerProcess(const std::string& type, const std::string& name, std::uint16_t port)
        : ChildProcess({DISCOVERY_PEER, type, name, std::to_string(port)}) {
        EXPECT_EQ(outputLine(), "published");
    }
    // Withdraws the service.
    void end() {
        sendSignal(SIGTERM);
        EXPECT_EQ(exitCode(), 0);
    }
};

// Blocks the calling thread.
bool isConnectedTo(const ListeningPort& port) {
    return Socket(port.accept()).descriptor() >= 0;
}

// Connects to a service, without the main loop, for as long as this lives.
struct Connection {
    explicit Connection(const std::shared_ptr<NSNetService>& service) {
        controller->startConnectionWithNetService(service);
    }
    ~Connection() {
        controller->closeStreams();
        EXPECT_TRUE(NSThread::finishCancelledThreads(5.0));
    }
    const std::shared_ptr<SwitchTelnetController> controller = std::make_shared<SwitchTelnetController>();
};

std::size_t entriesIn(const char* folder) {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

class Discovery : public testing::Test {
  protected:
    // Nothing needs the discovery thread any more, so it goes by itself.
    void TearDown() override {
        EXPECT_TRUE(runMainLoopUntil([] { return NSThread::runningThreads() == 0; }, 10.0));
    }
    const std::string type = uniqueType();
};

TEST_F(Discovery, FindsResolvesAndRemovesEachServiceOnce) {
    const std::string longest = "\xC3\x9C\"quoted\"\nback\\slash.dot " + std::string(37, 'x');
    ASSERT_EQ(longest.size(), 63u);
    Watcher first(type);
    PeerProcess peer(type, longest, 4711);
    ASSERT_TRUE(first.waitForEvents(2));
    EXPECT_EQ(first.events, (Strings{"found " + longest, "resolved " + longest}));
    const auto addresses = first.addressesOf(longest);
    ASSERT_FALSE(addresses.empty());
    EXPECT_EQ(addresses.front(), "127.0.0.1:4711");
    EXPECT_EQ(std::count(addresses.begin(), addresses.end(), "[::1]:4711") + 1, std::ssize(addresses));
    const NSNetService& service = *first.services.at(longest);
    EXPECT_TRUE(service.hostName().ends_with(".local."));

    // Another browser of the process is told of what is there, in objects of its own.
    Watcher second(type);
    Watcher third(type);
    ASSERT_TRUE(second.waitForEvents(2));
    EXPECT_TRUE(second.services.at(longest)->isEqual(service));
    EXPECT_NE(second.services.at(longest).get(), &service);

    third.browser.stop();
    third.services.clear();
    third.events.clear();
    peer.end();
    ASSERT_TRUE(first.waitForEvents(3) && second.waitForEvents(3));
    EXPECT_EQ(first.events.back(), "removed " + longest);
    EXPECT_EQ(third.events, Strings());
    EXPECT_FALSE(NSNetService("local.", type, "A").isEqual(NSNetService("other.", type, "A")));
    EXPECT_FALSE(NSNetService("local.", type, "A").isEqual(NSNetService("local.", type, "a")));
}

TEST_F(Discovery, ServerThatCameBackOnAnotherPortIsFoundAgainAndConnectedToThere) {
    const ListeningPort before, after;
    Watcher watcher(type);
    PeerProcess peer(type, "Router", before.port());
    ASSERT_TRUE(watcher.waitForEvents(2));
    // From here on the main loop is at a standstill until the server has moved.
    {
        Connection connection(watcher.services.at("Router"));
        EXPECT_TRUE(isConnectedTo(before));
    }
    peer.sendSignal(SIGKILL);  // no goodbye
    PeerProcess peerAgain(type, "Router", after.port());
    ASSERT_TRUE(watcher.waitForEvents(3));
    EXPECT_EQ(watcher.events, (Strings{"found Router", "resolved Router", "found Router"}));
    const auto service = watcher.services.at("Router");
    {
        Connection connection(service);
        EXPECT_TRUE(isConnectedTo(after));
    }
    peerAgain.end();
    ASSERT_TRUE(watcher.waitForEvents(4));
    EXPECT_EQ(watcher.events, (Strings{"found Router", "resolved Router", "found Router", "removed Router"}));
    // A service that has gone may be there still: its last known place is tried.
    Connection connection(service);
    EXPECT_TRUE(isConnectedTo(after));
}

TEST_F(Discovery, ServiceThatNobodyHasLookedForIsConnectedToWithTheMainThreadBlocked) {
    const ListeningPort port;
    PeerProcess peer(type, "Router", port.port());
    const auto service = std::make_shared<NSNetService>("", type, "Router");
    Connection connection(service);
    EXPECT_TRUE(isConnectedTo(port));
    EXPECT_FALSE(NSNetService("", type, "").getInputStreamOutputStream().has_value());
}

TEST_F(Discovery, OnlyChangesThatConcernAConnectionAreTold) {
    const std::string typeLabel = type.substr(0, type.find('.'));
    const RawAnnouncer::Labels kind{typeLabel, "_tcp", "local"};
    const RawAnnouncer::Labels router{"Router", typeLabel, "_tcp", "local"};
    const RawAnnouncer::Labels hostA{"a" + typeLabel, "local"};
    const RawAnnouncer::Labels hostB{"b" + typeLabel, "local"};
    RawAnnouncer announcer;
    Watcher watcher(type, 0.5);
    // The browse has to be running when the announcement comes, which nobody repeats.
    PeerProcess marker(type, "Marker", 1);
    ASSERT_TRUE(watcher.waitForEvents(2));
    watcher.events.clear();

    // Aliases without an end do no harm.
    announcer.alias(kind, kind).alias(router, router).alias(hostA, hostB).alias(hostB, hostA).send();

    // Known by name only: the resolution fails, and what comes later is told as a find.
    announcer.pointer(kind, router).send();
    ASSERT_TRUE(watcher.waitForEvents(2));
    EXPECT_EQ(watcher.events, (Strings{"found Router", "not resolved Router"}));
    announcer.location(router, hostA, 1000).address(hostA, {10, 0, 0, 9}).send();
    ASSERT_TRUE(watcher.waitForEvents(3));
    EXPECT_EQ(watcher.events.back(), "found Router");
    watcher.services.at("Router")->resolveWithTimeout(10.0);
    ASSERT_TRUE(watcher.waitForEvents(4));
    EXPECT_EQ(watcher.addressesOf("Router"), Strings{"10.0.0.9:1000"});
    watcher.events.clear();

    // One address more is nobody's business; names and addresses that are none do not get in.
    announcer.pointer(kind, {"bad \xFF name", typeLabel, "_tcp", "local"}).send();
    announcer.location(router, hostA, 1000).address(hostA, {0, 0, 0, 0}).address(hostA, {224, 0, 0, 1});
    announcer.address(hostA, {10, 0, 0, 9}).address(hostA, {10, 0, 0, 10}).send();
    const Strings both{"10.0.0.9:1000", "10.0.0.10:1000"};
    ASSERT_TRUE(runMainLoopUntil([&] {
        watcher.services.at("Router")->resolveWithTimeout(10.0);
        return watcher.waitForEvents(watcher.events.size() + 1) && watcher.addressesOf("Router") == both;
    }));
    std::erase(watcher.events, "resolved Router");
    EXPECT_EQ(watcher.events, Strings());

    // An IPv4 address that goes may have been in use.
    announcer.address(hostA, {10, 0, 0, 9}, 0).send();
    ASSERT_TRUE(watcher.waitForEvents(1));
    EXPECT_EQ(watcher.events, Strings{"found Router"});
    watcher.events.clear();

    // So may another host's.
    announcer.location(router, hostB, 1000).address(hostB, {10, 0, 0, 9}).send();
    ASSERT_TRUE(watcher.waitForEvents(1));
    EXPECT_EQ(watcher.events, Strings{"found Router"});
    announcer.pointer(kind, router, 0).send();
    ASSERT_TRUE(watcher.waitForEvents(2));
    EXPECT_EQ(watcher.events.back(), "removed Router");
}

TEST_F(Discovery, PacketsWithAnAliasOrCutOffAreScreenedOut) {
    const auto passes = [](std::string_view packet) {
        return PacketScreen::passes({reinterpret_cast<const std::uint8_t*>(packet.data()), packet.size()});
    };
    RawAnnouncer announcer;
    const std::string good = announcer.pointer({"a"}, {"b", "c"}).location({"b", "c"}, {"d"}, 1).take();
    EXPECT_TRUE(passes(good));
    for (std::size_t size = 0; size < good.size(); ++size)
        EXPECT_FALSE(passes(std::string_view(good).substr(0, size))) << size;
    EXPECT_FALSE(passes(announcer.pointer({"a"}, {"b"}).alias({"a"}, {"b"}).take()));
    EXPECT_FALSE(passes(announcer.pointer({std::string(64, 'x')}, {"b"}).take()));
}

TEST_F(Discovery, PublishesUnderAFreeNameAndSaysWhyNot) {
    PeerProcess peer(type, "Router", 4711);
    Watcher watcher(type);
    ASSERT_TRUE(watcher.waitForEvents(2));
    // Discovery starts anew to be able to publish, of which nothing is to be seen.
    const auto twin = std::make_shared<NSNetService>("", type, "Router", 4712);
    twin->setDelegate(&watcher);
    twin->publish();
    const auto contains = [&](const std::string& event) {
        return std::count(watcher.events.begin(), watcher.events.end(), event) == 1;
    };
    ASSERT_TRUE(runMainLoopUntil([&] {
        return contains("published Router #2") && contains("resolved Router") && contains("resolved Router #2");
    }));
    EXPECT_EQ(twin->name(), "Router #2");
    twin->stop();
    ASSERT_TRUE(runMainLoopUntil([&] { return contains("removed Router #2"); }));
    std::erase(watcher.events, "published Router #2");  // before or after the browser heard of it
    EXPECT_EQ(watcher.events, (Strings{"found Router", "resolved Router", "found Router #2", "resolved Router #2",
                                       "removed Router #2"}));

    const std::tuple<const char*, std::string, std::uint16_t, const char*> cases[] = {
        {"_router._tcp", std::string(64, 'x'), 1, "the name is 64 bytes long, at most 63 are possible"},
        {"_router._tcp", "", 1, "the service has no name"},
        {"_router._tcp", "\xC0\x80", 1, "the name is no text"},
        {"nonsense", "Router", 1, "nonsense. is no type of services"},
        {"_router._tcp", "Router", 0, "the service has no port"}};
    for (const auto& [wrongType, name, port, reason] : cases) {
        watcher.events.clear();
        NSNetService service("", wrongType, name, port);
        service.setDelegate(&watcher);
        service.publish();
        ASSERT_TRUE(watcher.waitForEvents(1));
        EXPECT_EQ(watcher.events.front(), std::string("not published: ") + reason);
    }
}

TEST_F(Discovery, NothingIsToldAfterTheEndAndNothingIsLeftBehind) {
    PeerProcess peer(type, "Router", 4711);
    const auto round = [&](std::size_t events) {
        Watcher watcher(type);
        EXPECT_TRUE(watcher.waitForEvents(events));
        const auto service = std::make_shared<NSNetService>("", type, "Router");
        service->setDelegate(&watcher);
        service->resolveWithTimeout(5.0);
    };
    const auto threads = entriesIn("/proc/self/task");
    const auto noThreadMore = [&] { return entriesIn("/proc/self/task") == threads; };
    round(2);
    ASSERT_TRUE(runMainLoopUntil(noThreadMore));
    const std::size_t descriptors = entriesIn("/proc/self/fd");
    for (const std::size_t events : {0, 1, 2, 0, 0, 0})
        round(events);
    ASSERT_TRUE(runMainLoopUntil(noThreadMore));
    EXPECT_EQ(entriesIn("/proc/self/fd"), descriptors);
}

}  // namespace
}  // namespace velmora::test
