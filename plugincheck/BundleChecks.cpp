// Of the bundle and what it holds.
#include "host/Waiting.h"
#include "platform/foundation/Text.h"
#include "platform/threads/NSThread.h"
#include "plugincheck/Check.h"
#include "plugincheck/Holdings.h"

namespace velmora {

namespace {

constexpr int kRounds = 50;
// The first ones fill caches that stay.
constexpr int kRoundsBefore = 15;
// What each of the others may add: the allocator is not exact to the byte.
constexpr std::int64_t kBytesPerRound = 512;
// A joined thread stays in the kernel's list for a moment, and a connection in the process.
constexpr std::chrono::milliseconds kSettlingTime{5'000};

std::shared_ptr<NSBundle> bundleOf(const CheckOptions& options) {
    const auto opened = NSBundle::bundleWithPath(options.bundle);
    if (!opened) fail(opened.failure().reason);
    return *opened;
}

void requireNoMore(const char* what, std::int64_t before, std::int64_t after) {
    require(after <= before, stringWithFormat("of %@ there were %li after %i rounds and %li after %i", what, before,
                                              kRoundsBefore, after, kRounds));
}

void loadAndUnload(const CheckOptions& options) {
    Trial trial(options);
    trial.startOrEnd();
    trial.serveUntil([] { return false; }, std::chrono::milliseconds(10));
    trial.finishAndUnload();
}

}  // namespace

void checkInformation(const CheckOptions& options) {
    beginStep("reading Info.plist", kHostTime);
    const auto bundle = bundleOf(options);
    for (const char* const key : {"CFBundleExecutable", "NSPrincipalClass"}) {
        require(!bundle->objectForInfoDictionaryKey(key).value_or("").empty(),
                stringWithFormat("Info.plist has no text under \"%@\"", key));
    }
    const auto module = *bundle->objectForInfoDictionaryKey("CFBundleExecutable");
    std::error_code fault;
    require(
        std::filesystem::is_regular_file(bundle->bundlePath() / "Contents" / module, fault),
        stringWithFormat("there is no file Contents/%@, which Info.plist names under \"CFBundleExecutable\"", module));
}

void checkEntry(const CheckOptions& options) {
    beginStep("loading the bundle", kHostTime);
    const auto bundle = bundleOf(options);
    for (int i = 0; i < 2; ++i) {
        if (const auto loaded = bundle->load(kVelmoraNodePluginProtocolVersion); !loaded) fail(loaded.failure().reason);
    }
    beginStep("making the plugin", options.operationTime);
    const auto make = [&] {
        const auto made = failingWhereItThrows("making the plugin", [&] { return bundle->makePrincipalObject(); });
        if (!made) fail(made.failure().reason);
        return *made;
    };
    auto first = make();
    require(std::dynamic_pointer_cast<VelmoraNodePluginProtocol>(first) != nullptr,
            "its principal class is no node plugin");
    auto second = make();
    if (first == second) fail("it makes the same plugin object twice, and the caller of each owns it");
    beginStep("the release of the plugin", options.operationTime);
    first = second = nullptr;
    beginStep("the end of what the bundle has begun", kHostTime);
    if (const auto ended = bundle->unload(); !ended) fail(ended.failure().reason);
}

void checkLoading(const CheckOptions& options) {
    Holdings before, after;
    for (int round = 1; round <= kRounds; ++round) {
        loadAndUnload(options);
        if (round == kRoundsBefore) before = holdingsNow();
    }
    beginStep("the event loop", kSettlingTime + kHostTime);
    waitUntil(
        [&] {
            NSThread::finishCancelledThreads(Seconds(1));
            after = holdingsNow();
            return after.threads <= before.threads && after.descriptors <= before.descriptors &&
                   after.children <= before.children;
        },
        kSettlingTime);
    requireNoMore("its threads", before.threads, after.threads);
    requireNoMore("its descriptors", before.descriptors, after.descriptors);
    requireNoMore("its processes", before.children, after.children);
    const std::int64_t grown = (after.bytes - before.bytes) / (kRounds - kRoundsBefore);
    require(grown <= kBytesPerRound,
            stringWithFormat("memory grows by %li bytes a round; %li are allowed", grown, kBytesPerRound));
}

}  // namespace velmora
