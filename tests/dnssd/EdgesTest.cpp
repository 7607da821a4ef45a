// The edges of discovery: no room for everything, names that lead nowhere or are disputed, a program that does not
// start.
#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>

#include "platform/network/dnssd/BackendSupply.h"
#include "platform/network/dnssd/DiscoveryThread.h"
#include "platform/network/dnssd/MonitoredRecords.h"
#include "platform/network/dnssd/UnannouncedServices.h"
#include "platform/threads/NSThread.h"
#include "tests/dnssd/RawAnnouncer.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ServiceWatch.h"

namespace velmora::test {
namespace {

// Says what the test has it say.
class SilentBackend : public DiscoveryBackend {
  public:
    std::unique_ptr<RecordQuery> query(const std::string&, std::uint16_t, RecordHandler handler) override {
        say = std::move(handler);
        return std::make_unique<RecordQuery>();
    }
    std::unique_ptr<EntryGroup> makeEntryGroup(EntryGroupHandler) override { return nullptr; }
    bool isReadyToPublish() const override { return false; }
    std::string lastError() const override { return ""; }
    RecordHandler say;
};

TEST(MonitoredRecords, setAsideTheOldestAndTakeItBackAsOldAsItWas) {
    DiscoveryLoop loop;
    BackendSupply supply(loop, {});
    SilentBackend backend;
    Strings told;
    MonitoredRecords records(supply, "name", 33, 2, [&](const NetworkRecord& record, RecordEvent event) {
        told.push_back((event == RecordEvent::came ? "+" : "-") + record.target);
    });
    records.backendCame(backend);
    const auto hear = [&](const std::string& target, bool present) {
        told.clear();
        backend.say({1, 0, target, 4711, {}}, present ? RecordEvent::came : RecordEvent::went);
        return told;
    };
    for (const char* target : {"a", "b", "c"}) {
        hear(target, true);
    }
    EXPECT_EQ(told, (Strings{"-a", "+c"}));
    // Asked again, the network says everything again, and something new in between: that alone is news.
    records.backendCame(backend);
    EXPECT_EQ(hear("a", true), Strings());
    EXPECT_EQ(hear("d", true), (Strings{"-b", "+d"}));
    EXPECT_EQ(hear("b", true), Strings());
    // The latest comes back first, and is still older than what was there.
    EXPECT_EQ(hear("c", false), (Strings{"-c", "+b"}));
    EXPECT_EQ(hear("e", true), (Strings{"-b", "+e"}));
    EXPECT_EQ(hear("b", false), Strings());
    EXPECT_EQ(hear("d", false), (Strings{"-d", "+a"}));
    // Another backend has to say so, too.
    hear("f", true);
    records.backendGoes();
    records.backendCame(backend);
    hear("f", true);
    told.clear();
    records.graceTimeEnded();
    EXPECT_EQ(told, (Strings{"-e"}));
    EXPECT_FALSE(records.hasSetAside());
    // What was lost with its interface is back with it, or goes later.
    hear("g", true);
    told.clear();
    for (const auto& [target, event] :
         {std::pair{"f", RecordEvent::lost}, {"g", RecordEvent::lost}, {"f", RecordEvent::came}}) {
        backend.say({1, 0, target, 4711, {}}, event);
    }
    EXPECT_EQ(told, (Strings{"+f"}));
    records.graceTimeEnded();
    EXPECT_EQ(told, (Strings{"+f", "-g"}));
}

TEST(MonitoredRecords, rememberSoManyOfAllQuestionsTogetherAndForgetTheOldest) {
    constexpr int kEach = 40'000;
    DiscoveryLoop loop;
    BackendSupply supply(loop, {});
    int told = 0;
    const auto count = [&](const NetworkRecord&, RecordEvent) { ++told; };
    MonitoredRecords first(supply, "first", 33, kEach, count), second(supply, "second", 33, kEach, count);
    for (MonitoredRecords* records : {&first, &second}) {
        SilentBackend backend;
        records->backendCame(backend);
        for (int number = 0; number < kEach; ++number) {
            backend.say({number, 0, "a", 4711, {}}, RecordEvent::came);
        }
        for (int number = 0; number < kEach; ++number) {
            records->setAside({number, 0, "a", 4711, {}});
        }
    }
    told = 0;
    first.takeBack(kEach);
    EXPECT_EQ(std::exchange(told, 0), static_cast<int>(SetAsideOrder::kMaximumSetAside) - kEach);
    EXPECT_FALSE(first.records().contains({0, 0, "a", 4711, {}}));
    second.takeBack(kEach);
    EXPECT_EQ(told, kEach);
}

TEST(UnannouncedServices, aNewcomerIsAskedAboutNextAndWhoDoesNotAnswerWaitsAgain) {
    constexpr auto kPlaces = UnannouncedServices::kMaximumAskedAbout;
    const auto key = [](std::size_t number) { return ServiceKey{"", "", std::to_string(number)}; };
    UnannouncedServices services;
    for (std::size_t number = 0; number < kPlaces; ++number) {
        services.add(key(number));
    }
    const Date now = std::chrono::steady_clock::now();
    EXPECT_EQ(services.nextTurns(now).begun.size(), kPlaces);
    EXPECT_FALSE(services.endOfTurn());
    for (const std::size_t number : {kPlaces, kPlaces + 1, kPlaces + 2}) {
        services.add(key(number));
        services.add(key(number));
    }
    EXPECT_TRUE(services.nextTurns(now).begun.empty());
    EXPECT_GT(services.endOfTurn(), now);
    // One that has gone makes room at once.
    services.remove(key(7));
    EXPECT_EQ(services.nextTurns(now).begun, std::vector{key(kPlaces + 2)});
    const auto later = services.nextTurns(now + std::chrono::minutes(1));
    EXPECT_EQ(later.begun, (std::vector{key(kPlaces), key(kPlaces + 1)}));
    EXPECT_EQ(later.ended.size(), 2u);
    EXPECT_TRUE(services.contains(later.ended.front()));
}

TEST(UnannouncedServices, anEndlessFloodKeepsNobodyWaitingForEver) {
    const ServiceKey real{"", "", "Real"};
    UnannouncedServices services;
    const Date start = std::chrono::steady_clock::now();
    std::vector<int> turns;
    // 600 names a second, each of which stays for four seconds.
    for (int tick = 0; tick < 200; ++tick) {
        for (int name = 0; name < 60; ++name) {
            services.remove({"", "", std::to_string(60 * (tick - 40) + name)});
            services.add({"", "", std::to_string(60 * tick + name)});
            if (tick == 50 && name == 30) services.add(real);
        }
        const auto begun = services.nextTurns(start + tick * std::chrono::milliseconds(100)).begun;
        if (std::ranges::count(begun, real) != 0) turns.push_back(tick);
    }
    ASSERT_GE(turns.size(), 2u);
    EXPECT_LE(turns[0], 50 + 45);
    EXPECT_LE(turns[1], turns[0] + 45);
}

TEST(NSNetServiceBrowser, toldAreFewNamesThatLeadNowhereAndEachThatLeadsSomewhere) {
    constexpr std::size_t kTold = 16;
    const auto name = [](int number) { return "Name " + std::to_string(number); };
    RawAnnouncer announcer;
    ServiceWatch watcher;
    Strings& events = watcher.events;
    const auto announceNames = [&](std::uint32_t timeToLive) {
        events.clear();
        for (int number = 1; number <= 40; ++number) {
            announcer.pointer(name(number), timeToLive);
        }
        announcer.send();
    };
    // Said again and again, because the browse may not run yet; only the first time is news.
    const auto isResolved = [&](int number) {
        return runMainLoopUntil([&] {
            announcer.pointer(name(number)).location(name(number), {"host-a", "local"}, 1000);
            announcer.address({"host-a", "local"}, {10, 0, 0, 9}).send();
            return !events.empty() && events.back() == "resolved " + name(number);
        });
    };
    ASSERT_TRUE(isResolved(0));
    announceNames(120);
    ASSERT_TRUE(watcher.waitForEvents(kTold));
    int slow = 1;
    while (watcher.services.contains(name(slow))) {
        ++slow;
    }
    EXPECT_TRUE(isResolved(slow));
    EXPECT_EQ(events.size(), kTold + 2);
    announceNames(0);
    ASSERT_TRUE(runMainLoopUntil([&] { return watcher.services.size() == 1; }));
    EXPECT_EQ(events.size(), kTold + 1);
    // The places of those that went are still taken.
    announceNames(120);
    EXPECT_TRUE(isResolved(slow));
    EXPECT_EQ(events, (Strings{"found " + name(slow), "resolved " + name(slow)}));
}

TEST(Publication, anAnnouncedNameIsLostOnlyToSomebodyWhoDefendsIt) {
    ServiceWatch watcher;
    ChildProcess server({VELMORA_SWITCH_SERVER, "--name", "Router"});
    // Others may hear of the name a moment before its owner knows that it has it.
    ASSERT_NE(server.outputLineWith("announced as "), "");
    ASSERT_TRUE(runMainLoopUntil([&] { return std::ranges::count(watcher.events, "resolved Router") == 1; }));
    const Strings elsewhere{"10.0.0.9:9"}, atHome = watcher.addressesOf("Router");
    // The first packet has the owner ask whether the name is still free, the next meets it asking.
    RawAnnouncer announcer;
    const auto dispute = [&] {
        for (int packets = 0; packets < 2; ++packets) {
            announcer.location("Router", {"other", "local"}, 9).address({"other", "local"}, {10, 0, 0, 9}).send();
        }
    };
    dispute();
    ASSERT_TRUE(runMainLoopUntil([&] { return watcher.addressesOf("Router") == elsewhere; }));
    const auto isRenamed = [&] { return watcher.services.contains("Router #2"); };
    ASSERT_TRUE(runMainLoopUntil([&] { return isRenamed() || watcher.addressesOf("Router") == atHome; }));
    EXPECT_FALSE(isRenamed());
    EXPECT_TRUE(runMainLoopUntil([&] { return dispute(), isRenamed(); }));
}

// A copy of the server as it is installed, whose velmora-mdns is this script.
TEST(Publication, aServerWaitsForItsProgramWhereItCanBeStarted) {
    namespace fs = std::filesystem;
    const fs::path built = fs::path(VELMORA_SWITCH_SERVER).parent_path().parent_path();
    const QTemporaryDir folder;
    const fs::path copy = folder.path().toStdString();
    fs::create_directories(copy / "lib/velmora");
    fs::create_directory(copy / "bin");
    fs::copy(VELMORA_SWITCH_SERVER, copy / "bin");
    fs::copy(built / "lib/libvelmora-platform.so.1", copy / "lib");
    fs::copy(built / "lib/velmora/velmora-mdns", copy / "lib/velmora/real");
    // The library is found by a relative path, which is resolved all the same.
    const auto server = [&] {
        return std::make_unique<ChildProcess>(std::vector<std::string>{
            "/bin/sh", "-c", "cd \"$0\" && LD_LIBRARY_PATH=lib exec bin/velmora-switch-server", copy});
    };
    EXPECT_NE(server()->errorLine().find("velmora/velmora-mdns cannot be started: No such file"), std::string::npos);

    const fs::path program = copy / "lib/velmora/velmora-mdns";
    std::ofstream(program) << "#!/bin/sh\ncd \"${0%/*}\"; [ -e died ] && exec ./real; : > died\n";
    fs::permissions(program, fs::perms::owner_all);
    const auto waits = server();
    EXPECT_NE(waits->outputLineWith("announced as "), "");
    EXPECT_TRUE(fs::exists(copy / "lib/velmora/died"));
}

TEST(NSNetService, keepsItsPlaceWhenTheWeightChangesAndFallsBackOnThePlaceItHad) {
    // Nothing of the test before is on the network any more.
    ASSERT_TRUE(runMainLoopUntil([] { return NSThread::runningThreads() == 0; }));
    const RawAnnouncer::Labels host{"host-a", "local"};
    RawAnnouncer announcer;
    ServiceWatch watcher;
    Strings& events = watcher.events;
    const auto announceBoth = [&] {
        announcer.pointer("Router").pointer("Marker").location("Router", host, 1000).location("Marker", host, 1001);
        announcer.address(host, {10, 0, 0, 9}).send();
        return events.size() == 4;
    };
    // A record goes one second after its goodbye, so the marker goes together with whatever said goodbye before it.
    const auto markerGoes = [&] {
        events.clear();
        announcer.pointer("Marker", 0).send();
        ASSERT_TRUE(watcher.waitForEvents(1));
        EXPECT_EQ(std::exchange(events, {}), Strings{"removed Marker"});
    };
    ASSERT_TRUE(runMainLoopUntil(announceBoth));
    announcer.location("Router", host, 1000, 7).location("Router", host, 1000, 0, 0);
    markerGoes();
    watcher.services.at("Router")->resolveWithTimeout(0.5);
    ASSERT_TRUE(watcher.waitForEvents(1));
    EXPECT_EQ(events, Strings{"resolved Router"});

    announcer.pointer("Marker").send();
    ASSERT_TRUE(watcher.waitForEvents(3));
    announcer.address(host, {10, 0, 0, 9}, 0);
    markerGoes();
    // A command does not wait for longer than ten seconds, and it must connect within them.
    static std::atomic<bool> known;
    DiscoveryThread::perform([](DiscoveryEngine& engine) {
        const auto fate = std::make_shared<const std::atomic<ConnectionFate>>(ConnectionFate::open);
        engine.findAddresses({"_matrixswitcher._tcp.", "local.", "Router"}, fate, [](const auto& addresses) {
            known = addresses.size() == 1 && addresses.front().text() == "10.0.0.9:1000";
        });
    });
    EXPECT_TRUE(runMainLoopUntil([] { return known.load(); }, Seconds{5}));
    EXPECT_EQ(events, Strings());
}

TEST(NSNetService, forgedAddressesDoNotPushOutThoseThatWereTold) {
    ASSERT_TRUE(runMainLoopUntil([] { return NSThread::runningThreads() == 0; }));
    const RawAnnouncer::Labels hosts[] = {{"host-4", "local"}, {"host-6", "local"}};
    const std::vector<std::uint8_t> addresses[] = {{10, 9, 0, 9}, {0xFD, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 9}};
    RawAnnouncer announcer;
    ServiceWatch watcher;
    const auto announceBoth = [&] {
        announcer.pointer("4").location("4", hosts[0], 1000).address(hosts[0], addresses[0]);
        announcer.pointer("6").location("6", hosts[1], 1000).address(hosts[1], addresses[1]).send();
        return watcher.events.size() == 4;
    };
    ASSERT_TRUE(runMainLoopUntil(announceBoth));
    for (int host = 0; host < 2; ++host) {
        announcer.address(hosts[host], addresses[host]);
        for (std::uint8_t last = 100; last < 200; ++last) {
            announcer.address(hosts[host], {10, 0, 0, last});
        }
        announcer.send();
    }
    announcer.pointer("Marker").location("Marker", hosts[0], 1001).send();
    ASSERT_TRUE(watcher.waitForEvents(6));
    EXPECT_EQ(Strings(watcher.events.begin() + 4, watcher.events.end()), (Strings{"found Marker", "resolved Marker"}));
    for (const char* name : {"4", "6"}) {
        watcher.services.at(name)->resolveWithTimeout(5);
    }
    ASSERT_TRUE(watcher.waitForEvents(8));
    EXPECT_EQ(std::ranges::count(watcher.addressesOf("4"), "10.9.0.9:1000"), 1);
    EXPECT_EQ(std::ranges::count(watcher.addressesOf("4"), "10.0.0.199:1000"), 1);
    EXPECT_EQ(std::ranges::count(watcher.addressesOf("6"), "[fd00::9]:1000"), 1);
}

}  // namespace
}  // namespace velmora::test
