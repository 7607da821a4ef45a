#include <gtest/gtest.h>

#include <thread>

#include "platform/threads/MainThread.h"
#include "tests/support/MainLoop.h"
#include "transport/NSNotificationCenterAdditions.h"
#include "transport/NSNotificationQueueAdditions.h"

namespace velmora {
namespace {

using Additions = NSNotificationCenterAdditions;
using QueueAdditions = NSNotificationQueueAdditions;
using Names = std::vector<std::string>;

// Keeps what a center posted, and whether that was on the main thread.
struct Recorder {
    explicit Recorder(NSNotificationCenter& center)
        : observation(center.addObserver(std::nullopt, nullptr, [this](const NSNotification& notification) {
              received.push_back(notification);
              alwaysOnMainThread = alwaysOnMainThread && MainThread::isCurrent();
          })) {}

    Names names() const {
        Names result;
        for (const NSNotification& notification : received)
            result.push_back(notification.name);
        return result;
    }

    std::vector<NSNotification> received;
    bool alwaysOnMainThread = true;
    std::unique_ptr<NSNotificationCenter::Observation> observation;
};

const int senderA = 0;
const int senderB = 0;

TEST(NSNotificationCenter, deliversByNameAndObjectInOrder) {
    NSNotificationCenter center;
    Names order;
    const auto note = [&](const char* text) {
        return [&order, text](const NSNotification&) { order.emplace_back(text); };
    };
    auto any = center.addObserver(std::nullopt, nullptr, note("any"));
    const auto named = center.addObserver("a", nullptr, note("named"));
    const auto sent = center.addObserver(std::nullopt, &senderA, note("sent"));
    const auto both = center.addObserver("a", &senderA, note("both"));
    const auto fragile = center.addObserver("last", nullptr, [&](const NSNotification&) { any.reset(); });
    auto doomed = center.addObserver("last", nullptr, note("must have ended"));
    const auto killer = center.addObserver("kill", nullptr, [&](const NSNotification&) { doomed.reset(); });
    center.postNotification({"a", &senderA, nullptr});
    center.postNotification({"a", &senderB, nullptr});
    center.postNotification({"b", &senderA, nullptr});
    center.postNotification({"a", nullptr, nullptr});
    center.postNotification({"kill", nullptr, nullptr});
    center.postNotification({"last", nullptr, nullptr});
    center.postNotification({"b", nullptr, nullptr});
    EXPECT_EQ(order,
              Names({"any", "named", "sent", "both", "any", "named", "any", "sent", "any", "named", "any", "any"}));
}

// Posts "1" to "5" by every operation of the additions, the last two waiting if asked to.
void postByEveryOperation(NSNotificationCenter& center, const DictionaryReference& userInfo, bool wait) {
    Additions::postNotificationOnMainThread(center, {"1", &senderA, userInfo});
    Additions::postNotificationOnMainThreadWithNameObject(center, "2", nullptr);
    Additions::postNotificationOnMainThreadWithNameObjectUserInfo(center, "3", &senderB, userInfo);
    Additions::postNotificationOnMainThreadWithNameObjectUserInfoWaitUntilDone(center, "4", nullptr, userInfo, wait);
    Additions::postNotificationOnMainThreadWaitUntilDone(center, {"5", &senderA, nullptr}, wait);
}

TEST(NSNotificationCenterAdditions, deliverOnTheMainThreadByTheReceiverThereAndByTheDefaultCenterElsewhere) {
    NSNotificationCenter own;
    Recorder fromOwn(own);
    Recorder fromDefault(NSNotificationCenter::defaultCenter());
    const auto userInfo = std::make_shared<PropertyListDictionary>();
    const auto expectAll = [&](const Recorder& recorder) {
        EXPECT_EQ(recorder.names(), Names({"1", "2", "3", "4", "5"}));
        const std::pair<const void*, DictionaryReference> expected[] = {
            {&senderA, userInfo}, {nullptr, nullptr}, {&senderB, userInfo}, {nullptr, userInfo}, {&senderA, nullptr}};
        for (std::size_t i = 0; i < recorder.received.size(); ++i) {
            EXPECT_EQ(std::pair(recorder.received[i].object, recorder.received[i].userInfo), expected[i]) << i;
        }
        EXPECT_TRUE(recorder.alwaysOnMainThread);
    };
    postByEveryOperation(own, userInfo, true);
    expectAll(fromOwn);
    EXPECT_TRUE(fromDefault.received.empty());

    // The posting thread ends, and nothing has been delivered yet.
    fromOwn.received.clear();
    std::thread([&] { postByEveryOperation(own, userInfo, false); }).join();
    EXPECT_TRUE(fromDefault.received.empty());
    ASSERT_TRUE(test::runMainLoopUntil([&] { return fromDefault.received.size() == 5; }));
    expectAll(fromDefault);

    fromDefault.received.clear();
    std::size_t seenByWaiting = 0;
    std::jthread waiting([&] {
        postByEveryOperation(own, userInfo, true);
        seenByWaiting = fromDefault.received.size();
    });
    ASSERT_TRUE(test::runMainLoopUntil([&] { return fromDefault.received.size() == 5; }));
    waiting.join();
    EXPECT_EQ(seenByWaiting, 5u);
    EXPECT_TRUE(fromOwn.received.empty());
}

TEST(NSNotificationQueue, postsByStyleOnceForEqualNotifications) {
    NSNotificationCenter center;
    Recorder recorder(center);
    NSNotificationQueue queue(center);
    const auto enqueue = [&](const char* name, const void* sender, unsigned long style, std::uint32_t mask) {
        queue.enqueueNotification({name, sender, nullptr}, style, mask, nullptr);
    };
    enqueue("idle", &senderA, NSPostWhenIdle, NSNotificationNoCoalescing);
    enqueue("a", &senderA, NSPostASAP, NSNotificationNoCoalescing);
    enqueue("a", &senderA, 77, NSNotificationNoCoalescing);
    enqueue("b", &senderA, NSPostASAP, 3);
    enqueue("b", &senderB, NSPostASAP, 3);
    enqueue("b", &senderA, NSPostASAP, 3);
    enqueue("c", &senderB, NSPostASAP, NSNotificationNoCoalescing);
    enqueue("now", &senderB, NSPostNow, NSNotificationCoalescingOnSender);
    EXPECT_EQ(recorder.names(), Names({"now"}));
    enqueue("d", nullptr, NSPostASAP, NSNotificationCoalescingOnName);
    enqueue("d", &senderA, NSPostASAP, NSNotificationCoalescingOnName);
    // What an observer enqueues comes in a later turn, after work that waits already: the loop is never held.
    const auto chain = center.addObserver("d", nullptr, [&](const NSNotification&) {
        MainThread::performLater([&] { enqueue("turn", nullptr, NSPostNow, 0); });
        enqueue("e", nullptr, NSPostASAP, 3);
    });
    ASSERT_TRUE(test::runMainLoopUntil([&] { return recorder.received.size() == 8; }));
    test::runMainLoopOnce();
    EXPECT_EQ(recorder.names(), Names({"now", "a", "a", "b", "d", "turn", "e", "idle"}));
    EXPECT_EQ(recorder.received[4].object, &senderA);
}

TEST(NSNotificationQueue, postsOnlyInItsModesAndNotAfterItsEnd) {
    NSNotificationCenter center;
    Recorder recorder(center);
    {
        NSNotificationQueue queue(center);
        const std::vector<std::string> modal = {NSModalPanelRunLoopMode, NSEventTrackingRunLoopMode};
        queue.enqueueNotification({"modal", nullptr, nullptr}, NSPostASAP, 0, &modal);
        queue.enqueueNotification({"modal idle", nullptr, nullptr}, NSPostWhenIdle, 0, &modal);
        queue.enqueueNotification({"default", nullptr, nullptr}, NSPostASAP, 0, nullptr);
        ASSERT_TRUE(test::runMainLoopUntil([&] { return recorder.received.size() == 1; }));
        {
            const MainThread::ModeScope scope(NSModalPanelRunLoopMode);
            queue.enqueueNotification({"later", nullptr, nullptr}, NSPostASAP, 0, nullptr);
            ASSERT_TRUE(test::runMainLoopUntil([&] { return recorder.received.size() == 3; }));
        }
        ASSERT_TRUE(test::runMainLoopUntil([&] { return recorder.received.size() == 4; }));
        queue.enqueueNotification({"dropped", nullptr, nullptr}, NSPostASAP, 0, nullptr);
    }
    bool later = false;
    MainThread::performLater([&] { later = true; });
    ASSERT_TRUE(test::runMainLoopUntil([&] { return later; }));
    EXPECT_EQ(recorder.names(), Names({"default", "modal", "modal idle", "later"}));
}

TEST(NSNotificationQueueAdditions, otherThreadsUseTheDefaultQueueWithTheLowBitsOfTheStyle) {
    NSNotificationCenter center;
    NSNotificationQueue own(center);
    Recorder fromOwn(center);
    Recorder fromDefault(NSNotificationCenter::defaultCenter());
    constexpr unsigned long nowWithHighBits = NSPostNow | (1UL << 32);
    const std::vector<std::string> modal = {NSModalPanelRunLoopMode};

    QueueAdditions::enqueueNotificationOnMainThreadPostingStyle(own, {"now", nullptr, nullptr}, NSPostNow);
    EXPECT_EQ(fromOwn.names(), Names({"now"}));
    // Here nothing is cut off, so that style is an unknown one and waits for the loop.
    QueueAdditions::enqueueNotificationOnMainThreadPostingStyle(own, {"soon", nullptr, nullptr}, nowWithHighBits);
    EXPECT_EQ(fromOwn.received.size(), 1u);

    std::thread([&] {
        const auto enqueue = [&](const char* name, unsigned long style) {
            QueueAdditions::enqueueNotificationOnMainThreadPostingStyle(own, {name, &senderA, nullptr}, style);
        };
        enqueue("twice", NSPostASAP);
        enqueue("twice", NSPostASAP);
        QueueAdditions::enqueueNotificationOnMainThreadPostingStyleCoalesceMaskForModes(
            own, {"modal", nullptr, nullptr}, NSPostASAP, 0, &modal);
        enqueue("now", nowWithHighBits);
    }).join();
    EXPECT_TRUE(fromDefault.received.empty());
    ASSERT_TRUE(
        test::runMainLoopUntil([&] { return fromDefault.received.size() == 2 && fromOwn.received.size() == 2; }));
    EXPECT_EQ(fromDefault.names(), Names({"now", "twice"}));
    EXPECT_TRUE(fromDefault.alwaysOnMainThread);
    const MainThread::ModeScope scope(NSModalPanelRunLoopMode);
    ASSERT_TRUE(test::runMainLoopUntil([&] { return fromDefault.received.size() == 3; }));
    EXPECT_EQ(fromDefault.received[2].name, "modal");
}

}  // namespace
}  // namespace velmora
