#include "platform/network/dnssd/DiscoveryThread.h"

#include <QCoreApplication>
#include <atomic>
#include <memory>
#include <optional>
#include <utility>

#include "platform/foundation/NSLog.h"
#include "platform/threads/NSThread.h"
#include "platform/threads/ThreadAnnotations.h"

namespace velmora {

namespace {

// The application's end waits this long for the thread.
constexpr Seconds kEndTimeout{3};

using Task = DiscoveryThread::Task;

// One run of the thread, from its start until nothing is needed any more.
struct Run {
    DiscoveryLoop loop;
    std::shared_ptr<NSThread> thread;
    std::vector<Task> tasks;  // guarded by the mutex of Shared
};

struct Shared {
    Mutex mutex;
    // The run that accepts tasks. One that is about to end accepts none.
    std::shared_ptr<Run> run GUARDED_BY(mutex);
    std::vector<std::string> interfaces GUARDED_BY(mutex);
    bool processEnds GUARDED_BY(mutex) = false;
    bool shortageIsLogged GUARDED_BY(mutex) = false;
    bool endsWithApplication GUARDED_BY(mutex) = false;
};

// Never destroyed: other threads may still ask while the process ends.
Shared& shared() {
    static auto* instance = new Shared;
    return *instance;
}

// The tasks that were handed over. None when the run is over: there are no tasks, and nothing is needed any more.
std::optional<std::vector<Task>> nextTasks(const std::shared_ptr<Run>& run, bool needed) {
    Shared& all = shared();
    MutexLock lock(all.mutex);
    if (NSThread::currentThreadIsCancelled() || (run->tasks.empty() && !needed)) {
        if (all.run == run) all.run = nullptr;
        return std::nullopt;
    }
    return std::exchange(run->tasks, {});
}

std::vector<std::string> interfaces() {
    Shared& all = shared();
    MutexLock lock(all.mutex);
    return all.interfaces;
}

void discover(const std::shared_ptr<Run>& run) {
    DiscoveryEngine engine(run->loop, interfaces());
    bool works = true;
    while (auto tasks = nextTasks(run, works && engine.isNeeded())) {
        if (!works) continue;  // the tasks are destroyed
        for (Task& task : *tasks) {
            task(engine);
            task = nullptr;
        }
        run->loop.runDueTimers();
        engine.settle();
        if (!engine.isNeeded()) continue;
        works = run->loop.wait();
        if (!works) NSLog("Services are no longer discovered: the event loop has failed");
    }
}

void endRun() {
    Shared& all = shared();
    {
        MutexLock lock(all.mutex);
        all.endsWithApplication = false;
        if (all.run == nullptr) return;
        all.run->thread->cancel();
        all.run->loop.wakeUp();
        all.run = nullptr;
    }
    if (!NSThread::finishCancelledThreads(kEndTimeout)) NSLog("The discovery of services did not end in time");
}

// Made after the first thread was started, so it is destroyed before the process waits for its threads.
struct AtExit {
    ~AtExit() {
        {
            Shared& all = shared();
            MutexLock lock(all.mutex);
            all.processEnds = true;
        }
        endRun();
    }
};

// Everything that takes descriptors is made here, not on the thread, so that whoever needs the run hears of a failure.
void startRun(Shared& all) REQUIRES(all.mutex) {
    auto run = std::make_shared<Run>();
    if (!run->loop.isUsable()) return;
    run->thread = std::make_shared<NSThread>([run] { discover(run); });
    if (!run->thread->start()) return;
    all.run = run;
    all.shortageIsLogged = false;
    if (!std::exchange(all.endsWithApplication, true)) qAddPostRoutine(endRun);
    static AtExit atExit;
}

bool handOver(Shared& all, Task task) REQUIRES(all.mutex) {
    if (all.run == nullptr) return false;
    all.run->tasks.push_back(std::move(task));
    all.run->loop.wakeUp();
    return true;
}

}  // namespace

bool DiscoveryThread::perform(Task task) {
    Shared& all = shared();
    MutexLock lock(all.mutex);
    if (all.run == nullptr && !all.processEnds) startRun(all);
    if (handOver(all, std::move(task))) return true;
    const bool isLogged = all.processEnds || std::exchange(all.shortageIsLogged, true);
    lock.unlock();
    if (!isLogged) NSLog("Services cannot be discovered now, trying again: %@", kShortage);
    return false;
}

void DiscoveryThread::performIfRunning(Task task) {
    Shared& all = shared();
    MutexLock lock(all.mutex);
    handOver(all, std::move(task));
}

void DiscoveryThread::limitToInterfaces(std::vector<std::string> interfaces) {
    {
        Shared& all = shared();
        MutexLock lock(all.mutex);
        all.interfaces = interfaces;
    }
    performIfRunning(
        [interfaces = std::move(interfaces)](DiscoveryEngine& engine) { engine.limitToInterfaces(interfaces); });
}

std::uint64_t DiscoveryThread::nextOwner() {
    static std::atomic<std::uint64_t> last{0};
    return ++last;
}

}  // namespace velmora
