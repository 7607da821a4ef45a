// Beginnings and ends in great number: threads, descriptors and memory must end where they began. VELMORA_ROUNDS is the
// number of starts to make; everything else is in proportion.
#include <gtest/gtest.h>
#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <random>
#include <thread>

#include "platform/foundation/NSBundle.h"
#include "plugin/VelmoraSwitchNodePlugin.h"
#include "tests/plugin/Settings.h"
#include "tests/support/Holdings.h"
#include "tests/support/MainLoop.h"
#include "tests/support/VirtualSwitch.h"

namespace velmora::test {
namespace {

int rounds(int share) {
    const char* const text = std::getenv("VELMORA_ROUNDS");
    return std::max(1, (text != nullptr ? std::atoi(text) : 200) / share);
}

// Taken when everything that winds down has ended.
struct Holdings {
    Holdings() {
        EXPECT_TRUE(NSThread::finishCancelledThreads(Seconds(10)));
        runMainLoopOnce();
        threads = entriesIn("/proc/self/task");
        descriptors = openDescriptors();
        malloc_trim(0);
        std::ifstream("/proc/self/statm") >> pages >> pages;
    }
    std::ptrdiff_t threads = 0, descriptors = 0, pages = 0;
};

class Lifecycle : public testing::Test {
  protected:
    // The first rounds fill caches that stay; the others must leave nothing.
    static void repeat(int count, const std::function<void()>& round) {
        std::optional<Holdings> before, after;
        for (int i = 0; i < count; ++i) {
            if (i == (count + 2) / 4) before.emplace();
            round();
        }
        // A moment later the kernel strikes a joined thread off its list, and the server closes what the plugin closed.
        EXPECT_TRUE(runMainLoopUntil([&] {
            after.emplace();
            return after->threads <= before->threads && after->descriptors <= before->descriptors;
        }));
        EXPECT_LE(after->pages, before->pages + kPagesOfChance);
        std::printf("%d rounds: threads %td to %td, descriptors %td to %td, pages %td to %td\n", count, before->threads,
                    after->threads, before->descriptors, after->descriptors, before->pages, after->pages);
    }
    int upTo(int most) { return std::uniform_int_distribution(0, most)(chance); }
    void serveLoop(int most) {
        for (int turns = upTo(most); turns > 0; --turns) {
            runMainLoopOnce();
        }
    }
    static std::shared_ptr<VelmoraSwitchNodePlugin> startedPlugin(const std::string& server) {
        auto plugin = std::make_shared<VelmoraSwitchNodePlugin>(nullptr);
        plugin->setDefaultSettings(settingsWith(server, {{"One", 0, 1}, {"Two", 1, 0}}));
        plugin->startAndSetCurrentValuesToDefaults(true);
        return plugin;
    }
    static bool connects(VelmoraSwitchNodePlugin& plugin) {
        return runMainLoopUntil(
            [&] { return plugin.setValueForAttributeWithName("0003", "Velmora Switch Output 1") == 0; });
    }

    // The allocator gives back late, and stacks are kept for as many threads as ran at the same time: 8 MB. The
    // sanitizers keep 200 MB and more of their own.
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
    static constexpr std::ptrdiff_t kPagesOfChance = 100'000;
#else
    static constexpr std::ptrdiff_t kPagesOfChance = 2'048;
#endif
    static constexpr unsigned kSeed = 20261122;
    std::mt19937 chance{kSeed};
    VirtualSwitch server{"Studio", 4, 2};
    const DictionaryReference settings = settingsWith("Studio", {{"One", 0, 1}});
};

TEST_F(Lifecycle, startingSelectingAndStoppingLeavesNothing) {
    const auto plugin = startedPlugin("Studio");
    ASSERT_TRUE(connects(*plugin));
    plugin->stop();
    repeat(rounds(1), [&] {
        plugin->startAndSetCurrentValuesToDefaults(upTo(1) == 0);
        serveLoop(3);
        plugin->setDefaultSettings(upTo(3) == 0 ? settingsWith("Nowhere", {}) : settings);
        if (upTo(20) == 0) plugin->setDefaultSettings(settings);
        serveLoop(3);
        plugin->stop();
    });
    plugin->setDefaultSettings(settings);
    plugin->startAndSetCurrentValuesToDefaults(false);
    EXPECT_TRUE(connects(*plugin));
}

TEST_F(Lifecycle, aPluginMayGoAtAnyMomentWithWorkQueued) {
    repeat(rounds(4), [&] {
        auto first = startedPlugin("Studio");
        const auto second = startedPlugin("Studio");
        EXPECT_TRUE(upTo(4) != 0 || connects(*first));
        serveLoop(4);
        first = nullptr;
        serveLoop(2);
    });
}

TEST_F(Lifecycle, losingConnectionsAtRandomMomentsLeavesNothing) {
    std::mt19937 moment(kSeed);
    repeat(4, [&] {
        const auto plugin = startedPlugin("Studio");
        ASSERT_TRUE(connects(*plugin));
        std::atomic<int> lost = 0;
        // A server that goes and comes back at its address while its service stays announced.
        std::thread saboteur([&] {
            for (; lost < rounds(40); ++lost) {
                while (server.server->clients() == 0) {
                    std::this_thread::yield();
                }
                for (int turns = std::uniform_int_distribution(0, 3000)(moment); turns > 0; --turns) {
                    std::this_thread::yield();
                }
                const auto port = server.server->port();
                server.server->stop();
                EXPECT_TRUE(server.server->start("127.0.0.1", port));
            }
        });
        while (lost < rounds(40)) {
            plugin->setDefaultSettings(settings);
            serveLoop(10);
            plugin->setValueForAttributeWithName("0002", "Velmora Switch Output 1");
        }
        saboteur.join();
        plugin->setDefaultSettings(settings);
        EXPECT_TRUE(connects(*plugin));
    });
}

// Nothing but what the plugin gave out, which the host may keep.
TEST_F(Lifecycle, loadingAndUnloadingTheBundleLeavesNothing) {
    repeat(rounds(100) + 1, [&] {
        const auto bundle = *NSBundle::bundleWithPath(VELMORA_BUNDLE_PATH);
        ASSERT_TRUE(bundle->load(kVelmoraNodePluginProtocolVersion));
        auto plugin = std::dynamic_pointer_cast<VelmoraNodePluginProtocol>(*bundle->makePrincipalObject());
        ASSERT_NE(plugin, nullptr);
        plugin->setDefaultSettings(settings);
        plugin->startAndSetCurrentValuesToDefaults(false);
        serveLoop(20);
        const DictionaryReference given = plugin->defaultSettings();
        const StringList names = plugin->attributeNames();
        EXPECT_EQ(plugin->settingsView(), nullptr);  // there is no window system here
        plugin = nullptr;
        const auto unloaded = bundle->unload();
        ASSERT_TRUE(unloaded) << unloaded.failure().reason;
        EXPECT_FALSE(bundle->isLoaded());
        EXPECT_EQ(textForKey(given, "selectedDeviceName"), "Studio");
        EXPECT_LE(names->size(), 1U);
    });
}

}  // namespace
}  // namespace velmora::test
