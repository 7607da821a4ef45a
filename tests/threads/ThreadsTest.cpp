// The main thread, run loops, threads and the lock: order, bounds, and what happens to work when a thread ends.
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

#include "platform/threads/MainThread.h"
#include "platform/threads/NSLock.h"
#include "platform/threads/NSThread.h"
#include "tests/support/Holdings.h"
#include "tests/support/MainLoop.h"

namespace velmora::test {

TEST(MainThread, tellsOfDroppedWorkWhichMayHandWorkOverItselfAlsoWhenTheNextApplicationStartsAtOnce) {
    struct Last {
        ~Last() {
            if (MainThread::performAndWait([] {})) _exit(3);
        }
    };
    const auto endAndStartApplications = [] {
        QCoreApplication::instance()->~QCoreApplication();
        alarm(20);  // where it waits for itself
        std::thread([] { MainThread::perform([last = std::make_shared<Last>()] {}); }).join();
        alarm(0);
        int count = 1;
        char name[] = "threads-test";
        char* arguments[] = {name, nullptr};
        std::atomic<int> dropped = 0;
        for (int round = 0; round < 1000; ++round) {
            auto application = std::make_unique<QCoreApplication>(count, arguments);
            std::atomic<int> asked = 0;
            std::atomic<int> answered = 0;
            std::vector<std::jthread> waiting;
            while (waiting.size() < 8) {
                waiting.emplace_back([&] {
                    ++asked;
                    if (!MainThread::performAndWait([] {})) ++dropped;
                    ++answered;
                });
            }
            while (asked != 8) {
                std::this_thread::yield();
            }
            application = nullptr;
            application = std::make_unique<QCoreApplication>(count, arguments);
            if (!runMainLoopUntil([&] { return answered == 8; }, Seconds(10.0))) _exit(1);
        }
        _exit(dropped > 0 ? 0 : 2);
    };
    EXPECT_EXIT(endAndStartApplications(), testing::ExitedWithCode(0), "");
}

TEST(MainThread, runsWorkOfOtherThreadsInOrderAlsoThroughNestedLoops) {
    std::vector<int> order;
    bool innerDone = false;
    const auto thread = std::make_shared<NSThread>([&] {
        EXPECT_FALSE(MainThread::isCurrent());
        MainThread::perform([&] {
            order.push_back(1);
            // A nested loop, as a modal alert runs one, serves the work after this.
            innerDone = runMainLoopUntil([&] { return order.size() == 3; });
        });
        MainThread::perform([&] { order.push_back(3); });
        MainThread::performLater([&] { order.push_back(4); });
        EXPECT_TRUE(MainThread::performAndWait([&] { order.push_back(5); }));
        EXPECT_EQ(order.size(), 4U);
    });
    EXPECT_TRUE(MainThread::isCurrent());
    EXPECT_TRUE(thread->start());
    ASSERT_TRUE(runMainLoopUntil([&] { return thread->isFinished(); }));
    EXPECT_TRUE(innerDone);
    EXPECT_EQ(order, (std::vector<int>{1, 3, 4, 5}));
}

TEST(NSRunLoop, handedWorkRunsOnceInOrderAndIsRefusedAfterTheEnd) {
    std::atomic<double> period = 0.001;
    const auto thread = std::make_shared<NSThread>([&period] {
        while (!NSThread::currentThreadIsCancelled())
            NSRunLoop::currentRunLoop()->runModeUntilDate(NSDefaultRunLoopMode, fromNow(Seconds(period)));
    });
    EXPECT_TRUE(thread->start());
    std::vector<int> order;
    for (int i = 0; i < 1000; ++i) {
        ASSERT_TRUE(thread->runLoop()->perform([&order, i] { order.push_back(i); }));
        if (i % 100 != 99) continue;
        ASSERT_EQ(thread->runLoop()->performAndWait([] {}, fromNow(Seconds(30.0))), NSRunLoop::Performed::yes);
        ASSERT_EQ(order.size(), static_cast<std::size_t>(i + 1));
    }
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));

    // Work after the last run is destroyed unrun, and whoever waits for it is released, long before a period is over.
    period = 3600.0;
    const auto held = std::make_shared<int>(0);
    std::promise<void> blocked;
    std::promise<void> release;
    thread->runLoop()->perform([&] {
        blocked.set_value();
        release.get_future().wait();
    });
    blocked.get_future().wait();
    const auto performed = [&](Seconds limit) { return thread->runLoop()->performAndWait([held] {}, fromNow(limit)); };
    EXPECT_EQ(performed(Seconds(0.05)), NSRunLoop::Performed::deadlinePassed);
    std::jthread waiter([&] { EXPECT_EQ(performed(Seconds(30.0)), NSRunLoop::Performed::loopEnded); });
    thread->cancel();
    release.set_value();
    EXPECT_TRUE(NSThread::finishCancelledThreads(Seconds(10)));
    EXPECT_EQ(NSThread::runningThreads(), 0);
    EXPECT_FALSE(thread->runLoop()->perform([held] {}));
    EXPECT_EQ(performed(Seconds(30.0)), NSRunLoop::Performed::loopEnded);
    waiter.join();
    EXPECT_EQ(held.use_count(), 1);
}

TEST(NSThread, threadsThatComeAndGoFastDoNotPileUpAndGiveBackWhatTheyHeldAtTheirEnd) {
    const auto before = openDescriptors();
    std::vector<std::shared_ptr<NSThread>> threads;
    for (int i = 0; i < 40; ++i) {
        threads.push_back(std::make_shared<NSThread>([] {
            while (!NSThread::currentThreadIsCancelled())
                NSRunLoop::currentRunLoop()->runModeUntilDate(NSDefaultRunLoopMode, fromNow(Seconds(3600.0)));
        }));
        ASSERT_TRUE(threads.back()->start());
        // In a run that only its period ends, or somebody who wakes it.
        ASSERT_EQ(threads.back()->runLoop()->performAndWait([] {}, fromNow(Seconds(30.0))), NSRunLoop::Performed::yes);
        threads.back()->cancel();
    }
    EXPECT_TRUE(runMainLoopUntil([] { return NSThread::runningThreads() == NSThread::kWindingDownLimit + 1; }));
    for (const auto& thread : threads) {
        thread->runLoop()->endRun();
    }
    EXPECT_TRUE(runMainLoopUntil([] { return NSThread::runningThreads() == 0; }));
    EXPECT_EQ(openDescriptors(), before);
}

TEST(NSLock, isWaitedForUntilTheDateOrTheThreadIsCancelled) {
    NSLock lock;
    EXPECT_TRUE(lock.tryLock());
    EXPECT_FALSE(lock.tryLock());
    EXPECT_FALSE(lock.lockBeforeDate(fromNow(Seconds(0.01))));

    // A cancelled thread does not wait for ever.
    std::promise<bool> taken;
    const auto thread = std::make_shared<NSThread>([&] { taken.set_value(lock.lock()); });
    EXPECT_TRUE(thread->start());
    thread->cancel();
    EXPECT_FALSE(taken.get_future().get());
    EXPECT_TRUE(NSThread::finishCancelledThreads(Seconds(10)));
}

TEST(NSLock, losesNoSignalAndIsNeverFreeTwice) {
    NSLock asked;
    NSLock answered;
    asked.lock();
    answered.lock();
    constexpr int kRounds = 20'000;
    int count = 0;  // on either side of a signal in turn
    std::thread other([&] {
        for (int i = 0; i < kRounds && asked.lockBeforeDate(fromNow(Seconds(60.0))); ++i) {
            ++count;
            answered.unlock();
        }
    });
    NSLock contended;
    std::thread careless([&contended] {
        for (int i = 0; i < kRounds; ++i) {
            contended.unlock();
        }
    });
    for (int i = 1; i <= kRounds; ++i) {
        asked.unlock();
        ASSERT_TRUE(answered.lockBeforeDate(fromNow(Seconds(30.0))));
        EXPECT_EQ(count, i);
        contended.tryLock();
        contended.unlock();
    }
    other.join();
    careless.join();
    EXPECT_TRUE(contended.tryLock());
    EXPECT_FALSE(contended.tryLock()) << "given back more than once";
}

}  // namespace velmora::test
