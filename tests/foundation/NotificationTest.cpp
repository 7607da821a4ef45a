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

const int senderA = 0;
const int senderB = 0;

// Keeps what a center posts: the name, then the sender, then a plus for information.
struct Recorder {
    explicit Recorder(NSNotificationCenter& center)
        : observation(center.addObserver(std::nullopt, nullptr, [this](const NSNotification& notification) {
              EXPECT_TRUE(MainThread::isCurrent());
              const char* const sender = notification.object == &senderA ? " A" : " B";
              names.push_back(notification.name + (notification.object != nullptr ? sender : "") +
                              (notification.userInfo != nullptr ? "+" : ""));
          })) {}
    void expect(const Names& expected) {
        test::runMainLoopUntil([&] { return names.size() >= expected.size(); });
        EXPECT_EQ(names, expected);
    }

    Names names;
    std::unique_ptr<NSNotificationCenter::Observation> observation;
};

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
    center.postNotification({"kill", nullptr, nullptr});
    center.postNotification({"last", nullptr, nullptr});
    center.postNotification({"b", nullptr, nullptr});
    EXPECT_EQ(order, Names({"any", "named", "sent", "both", "any", "named", "any", "sent", "any", "any"}));
}

// The last two wait if asked to.
void postByEveryOperation(NSNotificationCenter& center, bool wait) {
    const auto userInfo = std::make_shared<PropertyListDictionary>();
    Additions::postNotificationOnMainThread(center, {"1", &senderA, userInfo});
    Additions::postNotificationOnMainThreadWithNameObject(center, "2", nullptr);
    Additions::postNotificationOnMainThreadWithNameObjectUserInfo(center, "3", &senderB, userInfo);
    Additions::postNotificationOnMainThreadWithNameObjectUserInfoWaitUntilDone(center, "4", nullptr, userInfo, wait);
    Additions::postNotificationOnMainThreadWaitUntilDone(center, {"5", &senderA, nullptr}, wait);
}

TEST(NSNotificationCenterAdditions, deliverOnTheMainThreadByTheReceiverThereAndByTheDefaultCenterElsewhere) {
    const Names expected = {"1 A+", "2", "3 B+", "4+", "5 A"};
    NSNotificationCenter own;
    Recorder fromOwn(own);
    Recorder fromDefault(NSNotificationCenter::defaultCenter());
    postByEveryOperation(own, true);
    EXPECT_EQ(std::exchange(fromOwn.names, {}), expected);

    // The posting thread ends, and nothing has been delivered yet.
    std::thread([&] { postByEveryOperation(own, false); }).join();
    EXPECT_EQ(fromDefault.names, Names());
    fromDefault.expect(expected);

    fromDefault.names.clear();
    std::jthread waiting([&] {
        postByEveryOperation(own, true);
        EXPECT_EQ(fromDefault.names.size(), 5u);
    });
    fromDefault.expect(expected);
    waiting.join();
    EXPECT_EQ(fromOwn.names, Names());
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
    EXPECT_EQ(recorder.names, Names({"now B"}));
    enqueue("d", nullptr, NSPostASAP, NSNotificationCoalescingOnName);
    enqueue("d", &senderA, NSPostASAP, NSNotificationCoalescingOnName);
    // What an observer enqueues comes in a later turn, after work that waits already: the loop is never held.
    const auto chain = center.addObserver("d", nullptr, [&](const NSNotification&) {
        MainThread::performLater([&] { enqueue("turn", nullptr, NSPostNow, 0); });
        enqueue("e", nullptr, NSPostASAP, 3);
    });
    recorder.expect({"now B", "a A", "a A", "b A", "d A", "turn", "e", "idle A"});
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
        recorder.expect({"default"});
        {
            const MainThread::ModeScope scope(NSModalPanelRunLoopMode);
            queue.enqueueNotification({"later", nullptr, nullptr}, NSPostASAP, 0, nullptr);
            recorder.expect({"default", "modal", "modal idle"});
        }
        recorder.expect({"default", "modal", "modal idle", "later"});
        queue.enqueueNotification({"dropped", nullptr, nullptr}, NSPostASAP, 0, nullptr);
    }
    MainThread::performLater([&] { center.postNotification({"end", nullptr, nullptr}); });
    recorder.expect({"default", "modal", "modal idle", "later", "end"});
}

TEST(NSNotificationQueueAdditions, otherThreadsUseTheDefaultQueueWithTheLowBitsOfTheStyle) {
    NSNotificationCenter center;
    NSNotificationQueue own(center);
    Recorder fromOwn(center);
    Recorder fromDefault(NSNotificationCenter::defaultCenter());
    constexpr unsigned long nowWithHighBits = NSPostNow | (1UL << 32);
    const std::vector<std::string> modal = {NSModalPanelRunLoopMode};
    const auto enqueue = [&](const char* name, unsigned long style) {
        QueueAdditions::enqueueNotificationOnMainThreadPostingStyle(own, {name, &senderA, nullptr}, style);
    };
    enqueue("now", NSPostNow);
    // Here nothing is cut off, so that style is an unknown one and waits for the loop.
    enqueue("soon", nowWithHighBits);
    EXPECT_EQ(fromOwn.names, Names({"now A"}));
    std::thread([&] {
        enqueue("twice", NSPostASAP);
        enqueue("twice", NSPostASAP);
        QueueAdditions::enqueueNotificationOnMainThreadPostingStyleCoalesceMaskForModes(
            own, {"modal", nullptr, nullptr}, NSPostASAP, 0, &modal);
        enqueue("now", nowWithHighBits);
    }).join();
    EXPECT_EQ(fromDefault.names, Names());
    fromDefault.expect({"now A", "twice A"});
    fromOwn.expect({"now A", "soon A"});
    const MainThread::ModeScope scope(NSModalPanelRunLoopMode);
    fromDefault.expect({"now A", "twice A", "modal"});
}

}  // namespace
}  // namespace velmora
