// A thread with a run loop and a cancel request, known to the process so that none outlives it.
#pragma once

#include <atomic>
#include <functional>
#include <memory>

#include "platform/foundation/NSObject.h"
#include "platform/threads/NSRunLoop.h"

namespace velmora {

// Any thread may use one. The thread runs on when the object is released; the body, with all that it holds, is
// destroyed when it ends.
class NSThread final : public NSObject {
  public:
    using Body = std::function<void()>;

    explicit NSThread(Body body);
    ~NSThread() override;

    // Once only. False when the system has no thread or no descriptors left for it; the body is then destroyed unrun,
    // and the caller says so.
    // Cancelled threads end in their own time. When more than kWindingDownLimit have not ended yet, the oldest of them
    // are woken so that they see it now: threads that come and go fast do not pile up.
    [[nodiscard]] bool start();
    static constexpr int kWindingDownLimit = 8;
    // A request that the body has to look for (currentThreadIsCancelled); it wakes nobody.
    void cancel();
    bool isFinished() const;

    // Work may be handed to it before the thread has started; it ends with the thread.
    const std::shared_ptr<NSRunLoop>& runLoop() const;

    // Whether the thread running this call was cancelled; false on a thread that is no NSThread.
    static bool currentThreadIsCancelled();

    // Wakes the cancelled threads so that they see it now, and waits until they have ended; false when time runs out
    // first.
    static bool finishCancelledThreads(Seconds timeout);
    // The same after cancelling every thread; used at process exit.
    static bool finishAllThreads(Seconds timeout);
    // Threads that have been started and have not ended.
    static int runningThreads();

  private:
    static void hurryCancelledThreads();

    struct State;
    struct Registry;
    const std::shared_ptr<State> state_;
};

}  // namespace velmora
