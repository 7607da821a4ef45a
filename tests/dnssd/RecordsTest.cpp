// What discovery keeps where there is no room for everything, and what it tells of names that lead nowhere.
#include <gtest/gtest.h>

#include "platform/network/dnssd/BackendKeeper.h"
#include "platform/network/dnssd/MonitoredRecords.h"
#include "platform/network/dnssd/UnannouncedServices.h"
#include "tests/dnssd/RawAnnouncer.h"
#include "tests/support/ServiceWatch.h"

namespace velmora::test {
namespace {

using Strings = std::vector<std::string>;

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
    DiscoveryLoop loop(-1);
    BackendKeeper keeper(loop, {});
    SilentBackend backend;
    Strings told;
    MonitoredRecords records(keeper, "name", 33, 2, [&](const NetworkRecord& record, bool present) {
        told.push_back((present ? "+" : "-") + record.target);
    });
    records.backendCame(backend);
    const auto hear = [&](const std::string& target, bool present) {
        told.clear();
        backend.say({1, 0, target, 4711, {}}, present);
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
    EXPECT_EQ(later.begun, (std::vector{key(kPlaces + 1), key(kPlaces)}));
    EXPECT_EQ(later.ended.size(), 2u);
    EXPECT_TRUE(services.contains(later.ended.front()));
}

TEST(NSNetServiceBrowser, toldAreFewNamesThatLeadNowhereAndEachThatLeadsSomewhere) {
    constexpr int kNames = 40;
    constexpr std::ptrdiff_t kTold = 16;
    const RawAnnouncer::Labels kind{"_matrixswitcher", "_tcp", "local"}, host{"host-a", "local"};
    const auto service = [](int number) {
        return RawAnnouncer::Labels{"Name " + std::to_string(number), "_matrixswitcher", "_tcp", "local"};
    };
    ServiceWatch watcher;
    RawAnnouncer announcer;
    // Repeated until the browse runs; only the first time is news.
    const auto tells = [&](const std::string& event) {
        return std::count(watcher.events.begin(), watcher.events.end(), event) == 1;
    };
    ASSERT_TRUE(runMainLoopUntil([&] {
        announcer.pointer(kind, service(0)).location(service(0), host, 1000).address(host, {10, 0, 0, 9}).send();
        return tells("resolved Name 0");
    }));
    const auto announceNames = [&](std::uint32_t timeToLive) {
        for (int number = 1; number <= kNames; ++number) {
            announcer.pointer(kind, service(number), timeToLive);
        }
        announcer.send();
    };
    announceNames(120);
    const auto count = [&](const char* what) {
        return std::count_if(watcher.events.begin(), watcher.events.end(),
                             [&](const std::string& event) { return event.starts_with(what); });
    };
    ASSERT_TRUE(runMainLoopUntil([&] { return count("found") >= 1 + kTold; }));
    // One of the others turns out to be slow only.
    int slow = 1;
    while (watcher.services.contains("Name " + std::to_string(slow))) {
        ++slow;
    }
    announcer.location(service(slow), host, 1001).send();
    ASSERT_TRUE(runMainLoopUntil([&] { return tells("resolved Name " + std::to_string(slow)); }));
    EXPECT_EQ(count("found"), 2 + kTold);
    announceNames(0);
    ASSERT_TRUE(runMainLoopUntil([&] { return watcher.services.size() == 1; }));
    // The next flood finds no place in which it would be told.
    announceNames(120);
    announcer.location(service(slow), host, 1001).send();
    ASSERT_TRUE(runMainLoopUntil([&] { return watcher.events.back() == "resolved Name " + std::to_string(slow); }));
    EXPECT_EQ(count("found"), 3 + kTold);
    EXPECT_EQ(count("removed"), 1 + kTold);
}

}  // namespace
}  // namespace velmora::test
