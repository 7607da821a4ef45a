#include "platform/threads/MainThread.h"

#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QSocketNotifier>
#include <QTimer>
#include <algorithm>
#include <deque>
#include <memory>
#include <utility>
#include <vector>

#include "platform/threads/QueuedWork.h"
#include "platform/threads/ThreadAnnotations.h"

namespace velmora {

namespace {

// Our own queue; Qt only wakes the loop up. So every hand-over is visible to the thread sanitizer, which cannot look
// into Qt.
struct Queue {
    Mutex mutex;
    std::deque<QueuedWork> items GUARDED_BY(mutex);
    bool served GUARDED_BY(mutex) = false;
    // After the application object's end nobody would run work, and code that it needs may be unloaded.
    bool ended GUARDED_BY(mutex) = false;
    // Readable while there are items.
    const int descriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);

    void push(QueuedWork item) REQUIRES(mutex) {
        if (items.empty()) {
            const std::uint64_t one = 1;
            [[maybe_unused]] const auto written = write(descriptor, &one, sizeof one);
        }
        items.push_back(std::move(item));
    }
};

// Never destroyed: other threads may queue work while the process ends.
Queue& queue() {
    static auto* instance = new Queue;
    return *instance;
}

// Main thread only.
QSocketNotifier* notifier = nullptr;
const char* mode = NSDefaultRunLoopMode;
std::vector<std::pair<int, MainThread::Work>> modeObservers;
int lastModeObserver = 0;

// Answers the mode before.
const char* changeMode(const char* newMode) {
    const char* const before = std::exchange(mode, newMode);
    const auto observers = modeObservers;
    for (const auto& [id, observer] : observers) {
        observer();
    }
    return before;
}

void runNextItem() {
    Queue& q = queue();
    QueuedWork item;
    {
        MutexLock lock(q.mutex);
        if (q.items.empty()) return;
        item = std::move(q.items.front());
        q.items.pop_front();
        if (q.items.empty()) {
            std::uint64_t count = 0;
            [[maybe_unused]] const auto got = read(q.descriptor, &count, sizeof count);
        }
    }
    item.run();
}

void applicationEnds() {
    Queue& q = queue();
    delete std::exchange(notifier, nullptr);
    std::deque<QueuedWork> unrun;
    {
        MutexLock lock(q.mutex);
        q.served = false;
        q.ended = true;
        unrun.swap(q.items);
        std::uint64_t count = 0;
        [[maybe_unused]] const auto got = read(q.descriptor, &count, sizeof count);
    }
    for (QueuedWork& item : unrun) {
        item.drop();
    }
}

void applicationStarts() {
    Queue& q = queue();
    notifier = new QSocketNotifier(q.descriptor, QSocketNotifier::Read);
    QObject::connect(notifier, &QSocketNotifier::activated, notifier, runNextItem);
    qAddPostRoutine(applicationEnds);
    MutexLock lock(q.mutex);
    q.served = true;
    q.ended = false;
}

Q_COREAPP_STARTUP_FUNCTION(applicationStarts)

}  // namespace

bool MainThread::isCurrent() {
    static thread_local const bool current = syscall(SYS_gettid) == getpid();
    return current;
}

void MainThread::perform(Work work) {
    if (isCurrent()) {
        work();
        return;
    }
    performLater(std::move(work));
}

void MainThread::performLater(Work work) {
    Queue& q = queue();
    MutexLock lock(q.mutex);
    if (!q.ended) q.push({std::move(work), nullptr});
}

bool MainThread::performAndWait(Work work) {
    if (isCurrent()) {
        work();
        return true;
    }
    Queue& q = queue();
    const auto outcome = std::make_shared<WorkOutcome>();
    MutexLock lock(q.mutex);
    if (!q.served) return false;
    q.push({std::move(work), outcome});
    lock.unlock();
    outcome->waitBeforeDate(Date::max());
    return outcome->wasRun();
}

void MainThread::performWhenIdle(Work work) {
    // A timer of no length comes after the events that wait already; work may have been queued since.
    QTimer::singleShot(0, [work = std::move(work)]() mutable {
        bool busy = false;
        {
            Queue& q = queue();
            MutexLock lock(q.mutex);
            busy = !q.items.empty();
        }
        if (busy) {
            performWhenIdle(std::move(work));
        } else {
            work();
        }
    });
}

std::string_view MainThread::currentMode() {
    return mode;
}

MainThread::ModeScope::ModeScope(const char* scopeMode) : outer_(changeMode(scopeMode)) {}

MainThread::ModeScope::~ModeScope() {
    changeMode(outer_);
}

int MainThread::addModeObserver(Work observer) {
    modeObservers.emplace_back(++lastModeObserver, std::move(observer));
    return lastModeObserver;
}

void MainThread::removeModeObserver(int id) {
    std::erase_if(modeObservers, [id](const auto& entry) { return entry.first == id; });
}

}  // namespace velmora
