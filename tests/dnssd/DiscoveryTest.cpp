// Discovery without a daemon, on `lo`: what browsers and services are told when servers come, move, vanish and go.
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <mutex>
#include <thread>

#include "platform/network/dnssd/DiscoveryThread.h"
#include "tests/dnssd/DiscoveryFixture.h"
#include "tests/dnssd/RawAnnouncer.h"
#include "tests/support/Holdings.h"
#include "transport/SwitchTelnetController.h"

namespace velmora::test {
namespace {

// What a server says on a connection to the service. Blocks the main thread.
std::string matrixSizeOf(const std::shared_ptr<NSNetService>& service) {
    const auto controller = std::make_shared<SwitchTelnetController>();
    const auto command = std::make_shared<SwitchTelnetCommand>();
    command->setCommand("MATRIXSIZE");
    controller->startConnectionWithNetService(service);
    controller->processCommandSynchronously(command);
    controller->closeStreams();
    EXPECT_TRUE(NSThread::finishCancelledThreads(Seconds(5)));
    return command->responseString().value_or("(null)");
}

// Hears at once what the main thread is told in its turn.
class Listener : public BrowseListener {
  public:
    // Waits for an event after the one that was waited for last.
    bool hears(const std::string& event, const std::function<void()>& meanwhile = std::this_thread::yield) {
        for (const Date end = fromNow(Seconds(10)); std::chrono::steady_clock::now() < end; meanwhile()) {
            const std::lock_guard lock(mutex_);
            const auto found = std::find(events_.begin() + waitedFor_, events_.end(), event);
            if (found == events_.end()) continue;
            waitedFor_ = found + 1 - events_.begin();
            return true;
        }
        return false;
    }
    bool hasHeard(const std::string& event) {
        const std::lock_guard lock(mutex_);
        return std::count(events_.begin(), events_.end(), event) != 0;
    }
    void note(const std::string& event) {
        const std::lock_guard lock(mutex_);
        events_.push_back(event);
    }

  private:
    void serviceFound(const ServiceKey& key) override { note("found " + key.name); }
    void serviceRemoved(const ServiceKey& key) override { note("removed " + key.name); }
    bool prefers(const ServiceKey& key) const override { return key.name == "Preferred"; }
    std::mutex mutex_;
    Strings events_;
    std::ptrdiff_t waitedFor_ = 0;
};

TEST_F(Discovery, findsResolvesAndRemovesEachServiceOnce) {
    const std::string longest = "\xC3\x9C\"quoted\"\nback\\slash.dot " + std::string(37, 'x');
    ASSERT_EQ(longest.size(), 63u);
    ServiceWatch first;
    ServerProcess server(longest);
    ASSERT_TRUE(isTold(first, {"found " + longest, "resolved " + longest}));
    const NSNetService& service = *first.services.at(longest);
    const auto addresses = ServiceWatch::addressesOf(service);
    ASSERT_FALSE(addresses.empty());
    EXPECT_EQ(addresses.front(), "127.0.0.1:" + server.port);
    EXPECT_EQ(std::count(addresses.begin(), addresses.end(), "[::1]:" + server.port) + 1, std::ssize(addresses));
    EXPECT_TRUE(service.hostName().ends_with(".local."));

    // Another browser of the process is told of what is there, in objects of its own.
    ServiceWatch second;
    ServiceWatch third;
    ASSERT_TRUE(second.waitForEvents(2));
    EXPECT_TRUE(second.services.at(longest)->isEqual(service));
    EXPECT_NE(second.services.at(longest).get(), &service);

    third.browser.stop();
    third.services.clear();
    third.events.clear();
    EXPECT_EQ(server.exitCodeAfterSignal(), 0);  // it withdraws the service
    ASSERT_TRUE(isTold(first, {"removed " + longest}) && second.waitForEvents(3));
    EXPECT_EQ(third.events, Strings());
    EXPECT_FALSE(NSNetService("local.", kType, "A").isEqual(NSNetService("other.", kType, "A")));
    EXPECT_FALSE(NSNetService("local.", kType, "A").isEqual(NSNetService("local.", kType, "a")));
    EXPECT_FALSE(NSNetService("", kType, "").getInputStreamOutputStream().has_value());
}

TEST_F(Discovery, serverThatCameBackOnAnotherPortIsFoundAgainAndConnectedToThere) {
    ServerProcess before("Router", "1");
    // Nobody has looked for it, and the main thread is blocked.
    EXPECT_EQ(matrixSizeOf(std::make_shared<NSNetService>("", kType, "Router")), "1x8");
    ServiceWatch watcher;
    const auto listener = std::make_shared<Listener>();
    DiscoveryThread::perform([listener](DiscoveryEngine& engine) { engine.browse(kType, "local.", listener); });
    ASSERT_TRUE(isTold(watcher, kFoundRouter));
    // From here on the main loop stands still until the server has moved.
    EXPECT_TRUE(listener->hears("found Router"));
    const auto service = watcher.services.at("Router");
    EXPECT_EQ(matrixSizeOf(service), "1x8");
    before.sendSignal(SIGKILL);  // the goodbye is said for it, and overtaken
    ServerProcess after("Router", "2");
    EXPECT_TRUE(listener->hears("found Router"));
    DiscoveryThread::perform([listener](DiscoveryEngine& engine) { engine.endBrowse(listener); });
    ASSERT_TRUE(isTold(watcher, kFoundRouter));
    EXPECT_EQ(matrixSizeOf(service), "2x8");
    EXPECT_EQ(after.exitCodeAfterSignal(), 0);
    ASSERT_TRUE(isTold(watcher, {"removed Router"}));
    // A service that has gone may be there still: its last known place is tried.
    ChildProcess hidden({VELMORA_SWITCH_SERVER, "--no-announce", "--port", after.port});
    EXPECT_NE(hidden.outputLine(), "");
    EXPECT_EQ(matrixSizeOf(service), "16x8");
}

TEST_F(Discovery, onlyChangesThatConcernAConnectionAreTold) {
    RawAnnouncer announcer;
    ServiceWatch watcher;
    // The browse has to be running when the announcement comes, which nobody repeats.
    const ServerProcess marker("Marker");
    ASSERT_TRUE(isTold(watcher, {"found Marker", "resolved Marker"}));

    // Aliases without an end do no harm.
    const RawAnnouncer::Labels router = RawAnnouncer::server("Router"), servers = RawAnnouncer::kServers;
    announcer.alias(servers, servers).alias(router, router).alias(kHostA, kHostB).alias(kHostB, kHostA).send();

    // Known by name only: the resolution fails, and what comes later is told as a find.
    watcher.timeout = 0.5;
    announcer.pointer("Router").send();
    ASSERT_TRUE(isTold(watcher, {"found Router", "not resolved Router"}));
    watcher.timeout = 10.0;
    announcer.location("Router", kHostA, 1000).address(kHostA, {10, 0, 0, 9}).send();
    ASSERT_TRUE(isTold(watcher, kFoundRouter));
    EXPECT_EQ(watcher.addressesOf("Router"), Strings{"10.0.0.9:1000"});
    const auto leadsQuietlyTo = [&](const Strings& expected) {
        const bool leads = runMainLoopUntil([&] {
            watcher.services.at("Router")->resolveWithTimeout(10.0);
            return watcher.waitForEvents(watcher.events.size() + 1) && watcher.addressesOf("Router") == expected;
        });
        std::erase(watcher.events, "resolved Router");
        return leads && isTold(watcher, {});
    };

    // One address more is nobody's business; names and addresses that are none do not get in.
    announcer.pointer("bad \xFF name").send();
    announcer.location("Router", kHostA, 1000).address(kHostA, {0, 0, 0, 0}).address(kHostA, {224, 0, 0, 1});
    announcer.address(kHostA, {10, 0, 0, 9}).address(kHostA, {10, 0, 0, 10}).send();
    ASSERT_TRUE(leadsQuietlyTo({"10.0.0.9:1000", "10.0.0.10:1000"}));

    // Nor is one of several less.
    announcer.address(kHostA, {10, 0, 0, 9}, 0).send();
    ASSERT_TRUE(leadsQuietlyTo({"10.0.0.10:1000"}));

    // Another host is news, also when more has been said before it than is kept: what came last counts.
    for (std::uint16_t port = 2000; port < 2080; ++port) {
        announcer.location("Router", {"nowhere", "local"}, port);
    }
    announcer.send();
    announcer.location("Router", kHostB, 1000).address(kHostB, {10, 0, 0, 11}).send();
    ASSERT_TRUE(isTold(watcher, kFoundRouter));
    EXPECT_EQ(watcher.addressesOf("Router"), Strings{"10.0.0.11:1000"});
    // What was told is not pushed out by one more. (It is said along with it, because others are flushed.)
    announcer.location("Router", kHostB, 1000).location("Router", {"nowhere", "local"}, 2080);
    announcer.address(kHostB, {10, 0, 0, 11}).address(kHostB, {10, 0, 0, 13}).send();
    ASSERT_TRUE(leadsQuietlyTo({"10.0.0.11:1000", "10.0.0.13:1000"}));

    // So is an address when none of those before remains.
    announcer.address(kHostB, {10, 0, 0, 11}, 0).address(kHostB, {10, 0, 0, 13}, 0);
    announcer.address(kHostB, {10, 0, 0, 12}).send();
    ASSERT_TRUE(isTold(watcher, kFoundRouter));
    announcer.pointer("Router", 0).send();
    ASSERT_TRUE(isTold(watcher, {"removed Router"}));
}

// Discovery on the test's own thread, which stands still in between.
struct SteppedDiscovery {
    explicit SteppedDiscovery(std::size_t maximumServices = kMaximumServices) : engine(loop, {"lo"}, maximumServices) {
        engine.browse(kType, "local.", listener);
    }
    bool hears(const std::string& event) {
        return listener->hears(event, [this] {
            loop.performAfter(Seconds(0.05), [] {});  // ends the wait
            loop.runDueTimers();
            engine.settle();
            loop.wait();
        });
    }
    DiscoveryLoop loop;
    DiscoveryEngine engine;
    const std::shared_ptr<Listener> listener = std::make_shared<Listener>();
};

TEST_F(Discovery, aServiceThatHasGoneAndComeBackBeforeTheThreadLooksIsFoundAgain) {
    const auto witness = std::make_shared<Listener>();
    DiscoveryThread::perform([witness](DiscoveryEngine& engine) { engine.browse(kType, "local.", witness); });
    SteppedDiscovery discovery;
    const ServerProcess marker("Marker");
    EXPECT_TRUE(witness->hears("found Marker") && discovery.hears("found Marker"));
    RawAnnouncer announcer;
    announcer.pointer("Router").location("Router", kHostA, 1000).address(kHostA, {10, 0, 0, 9}).send();
    EXPECT_TRUE(witness->hears("found Router") && discovery.hears("found Router"));
    const auto resolved = [&](auto* found) {
        discovery.listener->note(found != nullptr ? "resolved" : "not resolved");
    };
    discovery.engine.resolve({kType, "local.", "Router"}, {.deadline = fromNow(Seconds(5)), .done = resolved});
    EXPECT_TRUE(discovery.hears("resolved"));
    announcer.pointer("Router", 0).send();
    EXPECT_TRUE(witness->hears("removed Router"));
    announcer.pointer("Router").send();
    EXPECT_TRUE(witness->hears("found Router"));
    announcer.pointer("Last").send();
    EXPECT_TRUE(witness->hears("found Last"));
    DiscoveryThread::perform([witness](DiscoveryEngine& engine) { engine.endBrowse(witness); });
    EXPECT_TRUE(discovery.hears("found Router"));
}

TEST_F(Discovery, fullListKeepsWhatIsPreferredTakesWhatIsNewAndHealsWhenThereIsRoom) {
    SteppedDiscovery discovery(5);
    const auto& listener = discovery.listener;
    const auto hears = [&](const std::string& event) { return discovery.hears(event); };
    const ServerProcess preferred("Preferred"), oldest("Oldest");
    EXPECT_TRUE(hears("found Oldest"));
    RawAnnouncer announcer;
    for (const char* name : {"1", "2", "3", "4"})
        announcer.pointer(name);
    announcer.send();
    EXPECT_TRUE(hears("removed Oldest"));
    announcer.pointer("Late").send();
    EXPECT_TRUE(hears("removed 1"));
    EXPECT_TRUE(hears("found Late"));
    announcer.pointer("2", 0).pointer("3", 0).send();
    EXPECT_TRUE(hears("found Oldest"));  // nobody has announced it again
    EXPECT_FALSE(listener->hasHeard("removed Preferred"));
}

TEST_F(Discovery, newsThatIsOvertakenBeforeTheMainThreadComesToItIsNotTold) {
    ServiceWatch watcher;
    const auto listener = std::make_shared<Listener>();
    DiscoveryThread::perform([listener](DiscoveryEngine& engine) { engine.browse(kType, "local.", listener); });
    RawAnnouncer announcer;
    const ServerProcess marker("Marker");
    ASSERT_TRUE(isTold(watcher, {"found Marker", "resolved Marker"}));
    announcer.pointer("Router").location("Router", kHostA, 1000).address(kHostA, {10, 0, 0, 9}).send();
    ASSERT_TRUE(isTold(watcher, kFoundRouter));
    // From here on the main loop stands still.
    EXPECT_TRUE(listener->hears("found Router"));
    announcer.pointer("Router", 0).pointer("Flash").send();
    EXPECT_TRUE(listener->hears("removed Router"));
    announcer.pointer("Router").pointer("Flash", 0).send();
    EXPECT_TRUE(listener->hears("found Router") && listener->hears("removed Flash"));
    ASSERT_TRUE(isTold(watcher, kFoundRouter));
    // A resolution that is overtaken by the withdrawal leads nowhere.
    watcher.services.at("Router")->resolveWithTimeout(10.0);
    announcer.pointer("Router", 0).send();
    EXPECT_TRUE(listener->hears("removed Router"));
    DiscoveryThread::perform([listener](DiscoveryEngine& engine) { engine.endBrowse(listener); });
    ASSERT_TRUE(isTold(watcher, {"not resolved Router", "removed Router"}));
}

// A server that restarts within a second of its goodbye has dropped its connections.
TEST_F(Discovery, aGoodbyeThatIsTakenBackIsNewsWhenTheAnnouncerSaidIt) {
    RawAnnouncer announcer, stranger("127.0.0.2");
    ServiceWatch watcher;
    const ServerProcess marker("Marker");
    ASSERT_TRUE(isTold(watcher, {"found Marker", "resolved Marker"}));
    announcer.pointer("Router").location("Router", kHostA, 1000).address(kHostA, {10, 0, 0, 9}).send();
    ASSERT_TRUE(isTold(watcher, kFoundRouter));
    announcer.pointer("Router", 0).send();
    announcer.pointer("Router").send();
    ASSERT_TRUE(isTold(watcher, kFoundRouter));
    announcer.pointer("Router", 0).send();
    announcer.pointer("Router").inCapitals().send();
    ASSERT_TRUE(isTold(watcher, kFoundRouter));
    // A stranger's goodbye, which the announcer undoes, is none, nor is what the stranger does next.
    stranger.pointer("Router", 0).send();
    announcer.pointer("Router").send();
    stranger.pointer("Router", 0).pointer("Router").send();
    announcer.pointer("Router").send();
    // One that comes back elsewhere is told once.
    announcer.pointer("Router", 0).send();
    announcer.pointer("Router").location("Router", kHostA, 1001).address(kHostA, {10, 0, 0, 9}).send();
    ASSERT_TRUE(isTold(watcher, kFoundRouter));
    EXPECT_EQ(watcher.addressesOf("Router"), Strings{"10.0.0.9:1001"});
    announcer.pointer("Router", 0).send();
    ASSERT_TRUE(isTold(watcher, {"removed Router"}));
}

TEST_F(Discovery, nothingIsToldAfterTheEndAndNothingIsLeftBehind) {
    const ServerProcess server("Router");
    const auto round = [&](std::size_t events) {
        ServiceWatch watcher;
        EXPECT_TRUE(watcher.waitForEvents(events));
        const auto service = std::make_shared<NSNetService>("", kType, "Router");
        service->setDelegate(&watcher);
        service->resolveWithTimeout(5.0);
    };
    round(2);
    TearDown();
    const auto descriptors = openDescriptors();
    for (const std::size_t events : {0, 1, 2, 0, 0, 0})
        round(events);
    TearDown();
    EXPECT_EQ(openDescriptors(), descriptors);
}

}  // namespace
}  // namespace velmora::test
