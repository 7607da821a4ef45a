// The run loop of a thread: bounded runs that serve descriptors and the work that other threads queue for it.
#pragma once

#include <sys/epoll.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/NSObject.h"
#include "platform/threads/MainThread.h"
#include "platform/threads/Moment.h"
#include "platform/threads/QueuedWork.h"
#include "platform/threads/ThreadAnnotations.h"

namespace velmora {

// Something with a descriptor that a run loop watches. Every callback runs on the loop's thread, with no lock held.
class RunLoopSource {
  public:
    virtual ~RunLoopSource() = default;
    // The descriptor has become readable or writable, or the peer has gone: edges (EPOLLIN, EPOLLOUT, EPOLLRDHUP,
    // EPOLLHUP, EPOLLERR), each told once when it happens.
    virtual void descriptorReady(std::uint32_t events) = 0;
    // The loop has run queued work or was woken: a source may offer again what it left undone.
    virtual void loopHasRunWork() = 0;
    // When the source wants to be called even if nothing happens; none for never.
    virtual std::optional<Date> deadline() = 0;
    virtual void deadlineReached() = 0;
};

// Runs on the thread that owns it; everything else may be called on any thread. A source belongs to one loop at a time.
class NSRunLoop : public NSObject {
  public:
    using Work = std::function<void()>;

    NSRunLoop();
    ~NSRunLoop() override;

    // The run loop of the calling thread; null on a thread that is no NSThread.
    static const std::shared_ptr<NSRunLoop>& currentRunLoop();

    // False when the system had no descriptors or watches left for it; it cannot be run then.
    bool isUsable() const { return isUsable_; }

    // Serves sources scheduled in the mode, and work, until the deadline. Owner thread only.
    void runModeUntilDate(const char* mode, Date deadline);

    // Queues work for the loop's thread. False, with nothing queued, when the loop has ended. Work that is still queued
    // when the loop ends is destroyed unrun.
    bool perform(Work work);
    // The same, and waits until the work has been run. On the loop's own thread it runs at once. When the deadline
    // passes first the work stays queued, or goes on running, so it must own what it needs.
    enum class Performed { yes, loopEnded, deadlinePassed };
    Performed performAndWait(Work work, Date deadline);

    // The current run, or else the next one, returns as soon as it has finished what it is doing.
    void endRun();

    // A source that is scheduled in several modes is watched once.
    void addSourceForMode(const std::shared_ptr<RunLoopSource>& source, const char* mode);
    void removeSourceForMode(const std::shared_ptr<RunLoopSource>& source, const char* mode);
    // Begins or ends watching a scheduled source's descriptor, which must stay open until then, or until the source is
    // removed from its last mode. A source without a descriptor has only its deadline.
    void watchDescriptor(const std::shared_ptr<RunLoopSource>& source, int descriptor);
    void forgetDescriptor(const std::shared_ptr<RunLoopSource>& source);

  private:
    friend class NSThread;
    static void setCurrentRunLoop(std::shared_ptr<NSRunLoop> runLoop);

    struct Scheduled {
        std::shared_ptr<RunLoopSource> source;
        std::uint64_t id = 0;
        int descriptor = -1;
        std::uint32_t pendingEvents = 0;
        std::vector<std::string> modes;
    };
    struct Turn {
        std::shared_ptr<RunLoopSource> source;
        std::uint32_t events;
    };

    // For a thread that is about to end: nothing is accepted or run any more, whoever waits is released, and the
    // descriptors are given back.
    void end();
    void closeDescriptors();
    bool enqueue(QueuedWork work);
    bool runQueuedWork();
    void waitForEvents(Date deadline);
    void setAlarm(Date moment);
    void noteEvents() REQUIRES(mutex_);
    bool watch(int descriptor, std::uint64_t id) const;
    // Answers the earliest moment at which a source wants to be called.
    Date serveSources(std::string_view mode, bool ranWork);
    void interruptWait();
    Scheduled* find(const RunLoopSource* source) REQUIRES(mutex_);

    bool isUsable_ = false;
    // Waited for on the owner thread, changed on any under mutex_ and before the end.
    int poller_;
    // Its own mutex, so that the woken loop does not meet its waker on the other one.
    Mutex wakeUpMutex_;
    int wakeUpDescriptor_ GUARDED_BY(wakeUpMutex_);
    // Rings at alarm_. Set anew only when the moment changes, which is cheaper than a time-out for each wait.
    int alarmDescriptor_;
    Date alarm_ = Date::max();
    // The events of the last wait; owner thread only, as are the two vectors, which are kept for their capacity.
    std::array<epoll_event, 16> events_{};
    int eventCount_ = 0;
    bool workWentFirst_ = false;
    std::vector<QueuedWork> spareQueued_;
    std::vector<Turn> spareTurns_;
    std::atomic<bool> waiting_{false};
    std::atomic<bool> endRun_{false};
    std::atomic<bool> hasQueued_{false};
    Mutex mutex_;
    std::vector<QueuedWork> queued_ GUARDED_BY(mutex_);
    std::vector<Scheduled> sources_ GUARDED_BY(mutex_);
    std::uint64_t lastId_ GUARDED_BY(mutex_) = 0;
    bool ended_ GUARDED_BY(mutex_) = false;
};

}  // namespace velmora
