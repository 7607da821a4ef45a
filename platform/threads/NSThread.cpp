#include "platform/threads/NSThread.h"

#include <algorithm>
#include <system_error>
#include <thread>
#include <vector>

#include "platform/foundation/NSLog.h"

namespace velmora {

struct NSThread::State {
    Body body;
    std::shared_ptr<NSRunLoop> runLoop = std::make_shared<NSRunLoop>();
    std::atomic<bool> cancelled{false};
    std::atomic<bool> finished{false};
    // Set once by start(), joined by whoever takes the finished thread out of the registry.
    std::thread thread;
};

// The threads that run, and those that have ended and wait to be joined.
struct NSThread::Registry {
    using States = std::vector<std::shared_ptr<State>>;

    Mutex mutex;
    Condition threadEnded;
    States states GUARDED_BY(mutex);

    // Never destroyed: a thread may end while the process does.
    static Registry& shared() {
        static auto* instance = new Registry;
        return *instance;
    }
    // Takes out those that have ended. The caller joins them once it has let go of the registry.
    States takeEnded() REQUIRES(mutex) {
        States taken;
        std::erase_if(states, [&taken](const std::shared_ptr<State>& state) {
            if (state->finished) taken.push_back(state);
            return state->finished.load();
        });
        return taken;
    }
    static void join(const States& ended) {
        for (const auto& state : ended) {
            state->thread.join();
        }
    }
};

namespace {

constexpr Seconds kProcessExitTime{5};

thread_local const std::atomic<bool>* currentCancelled = nullptr;

// When the process exits no thread runs on in what is being destroyed.
struct AtExit {
    ~AtExit() {
        if (!NSThread::finishAllThreads(kProcessExitTime)) NSLogLine("A thread did not end before the process did");
    }
};

}  // namespace

NSThread::NSThread(Body body) : state_(std::make_shared<State>()) {
    state_->body = std::move(body);
}

NSThread::~NSThread() = default;

bool NSThread::start() {
    static AtExit atExit;
    finishCancelledThreads(Seconds::zero());  // joins the ones that have ended
    hurryCancelledThreads();
    const auto run = [state = state_] {
        NSRunLoop::setCurrentRunLoop(state->runLoop);
        currentCancelled = &state->cancelled;
        state->body();
        state->body = nullptr;
        state->runLoop->end();
        NSRunLoop::setCurrentRunLoop(nullptr);
        // A thread that has ended keeps its stack until it is joined: the next one that ends does it, not only the next
        // start.
        Registry& known = Registry::shared();
        MutexLock endedLock(known.mutex);
        const auto ended = known.takeEnded();
        endedLock.unlock();
        Registry::join(ended);
        endedLock.lock();
        state->finished = true;
        known.threadEnded.notify_all();
    };
    try {
        Registry& all = Registry::shared();
        MutexLock lock(all.mutex);
        if (state_->runLoop->isUsable()) {
            all.states.reserve(all.states.size() + 1);
            state_->thread = std::thread(run);
            all.states.push_back(state_);
            return true;
        }
    } catch (const std::system_error&) {
        // The system's limit on threads; answered below.
    }
    state_->finished = true;
    state_->runLoop->end();
    state_->body = nullptr;
    return false;
}

void NSThread::cancel() {
    state_->cancelled = true;
}

bool NSThread::isFinished() const {
    return state_->finished;
}

const std::shared_ptr<NSRunLoop>& NSThread::runLoop() const {
    return state_->runLoop;
}

bool NSThread::currentThreadIsCancelled() {
    return currentCancelled != nullptr && currentCancelled->load();
}

bool NSThread::finishCancelledThreads(Seconds timeout) {
    const Date deadline = fromNow(timeout);
    Registry& all = Registry::shared();
    Registry::States ended;
    bool everyOneEnded = true;
    {
        MutexLock lock(all.mutex);
        while (true) {
            everyOneEnded = true;
            for (const auto& state : all.states) {
                if (&state->cancelled == currentCancelled || state->finished || !state->cancelled) continue;
                everyOneEnded = false;
                if (timeout > Seconds::zero()) state->runLoop->endRun();
            }
            if (everyOneEnded || std::chrono::steady_clock::now() >= deadline) break;
            all.threadEnded.wait_until(lock, deadline);
        }
        ended = all.takeEnded();
    }
    Registry::join(ended);
    return everyOneEnded;
}

void NSThread::hurryCancelledThreads() {
    Registry& all = Registry::shared();
    MutexLock lock(all.mutex);
    const auto windsDown = [](const auto& state) { return state->cancelled && !state->finished; };
    auto excess = std::count_if(all.states.begin(), all.states.end(), windsDown) - kWindingDownLimit;
    for (auto state = all.states.begin(); excess > 0; ++state) {
        if (!windsDown(*state)) continue;
        (*state)->runLoop->endRun();
        --excess;
    }
}

bool NSThread::finishAllThreads(Seconds timeout) {
    Registry& all = Registry::shared();
    {
        MutexLock lock(all.mutex);
        for (const auto& state : all.states) {
            state->cancelled = true;
        }
    }
    return finishCancelledThreads(timeout);
}

int NSThread::runningThreads() {
    Registry& all = Registry::shared();
    MutexLock lock(all.mutex);
    return static_cast<int>(
        std::count_if(all.states.begin(), all.states.end(), [](const auto& state) { return !state->finished.load(); }));
}

}  // namespace velmora
