// Services of our own, announced on `lo`.
#include <algorithm>
#include <tuple>

#include "tests/dnssd/DiscoveryFixture.h"

namespace velmora::test {

TEST_F(Discovery, publishesUnderAFreeNameAndSaysWhyNot) {
    const ServerProcess server("Router");
    ServiceWatch watcher;
    ASSERT_TRUE(watcher.waitForEvents(2));
    // Discovery starts anew to be able to publish, of which nothing is to be seen.
    const auto twin = std::make_shared<NSNetService>("", kType, "Router", 4712);
    twin->setDelegate(&watcher);
    twin->publish();
    const auto contains = [&](const std::string& event) {
        return std::count(watcher.events.begin(), watcher.events.end(), event) > 0;
    };
    ASSERT_TRUE(runMainLoopUntil([&] {
        return contains("published Router #2") && contains("resolved Router") && contains("resolved Router #2");
    }));
    EXPECT_EQ(twin->name(), "Router #2");
    twin->stop();
    ASSERT_TRUE(runMainLoopUntil([&] { return contains("removed Router #2"); }));
    // On a busy machine the two may dispute the name for a while, in which it leads here and there.
    EXPECT_FALSE(contains("removed Router"));
    EXPECT_EQ(watcher.events.back(), "removed Router #2");

    const std::tuple<const char*, std::string, std::uint16_t, std::string> cases[] = {
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
        ASSERT_TRUE(isTold(watcher, {"not published: " + reason}));
    }
}

}  // namespace velmora::test
