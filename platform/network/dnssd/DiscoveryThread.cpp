#include "platform/network/dnssd/DiscoveryThread.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <QCoreApplication>
#include <atomic>
#include <memory>
#include <optional>
#include <utility>

#include "platform/foundation/Descriptor.h"
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
    const Descriptor wakeUpDescriptor{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
    std::shared_ptr<NSThread> thread;
    std::vector<Task> tasks;  // guarded by the mutex of Shared

    void wakeUp() const {
        const std::uint64_t one = 1;
        [[maybe_unused]] const auto written = write(wakeUpDescriptor.number(), &one, sizeof one);
    }
};

struct Shared {
    Mutex mutex;
    // The run that accepts tasks. One that is about to end accepts none.
    std::shared_ptr<Run> run GUARDED_BY(mutex);
    std::vector<std::string> interfaces GUARDED_BY(mutex);
    bool processEnds GUARDED_BY(mutex) = false;
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
    DiscoveryLoop loop(run->wakeUpDescriptor.number());
    if (loop.poll() == nullptr) NSLog("Services cannot be discovered: no event loop");
    std::optional<DiscoveryEngine> engine;
    if (loop.poll() != nullptr) engine.emplace(loop, interfaces());
    bool works = engine.has_value();
    while (auto tasks = nextTasks(run, works && engine->isNeeded())) {
        if (!works) continue;  // the tasks are destroyed
        for (Task& task : *tasks) {
            task(*engine);
            task = nullptr;
        }
        loop.runDueTimers();
        engine->settle();
        if (!engine->isNeeded()) continue;
        works = loop.wait();
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
        all.run->wakeUp();
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

void startRun(Shared& all) REQUIRES(all.mutex) {
    auto run = std::make_shared<Run>();
    run->thread = std::make_shared<NSThread>([run] { discover(run); });
    all.run = run;
    if (!std::exchange(all.endsWithApplication, true)) qAddPostRoutine(endRun);
    if (!run->thread->start()) all.run = nullptr;
    static AtExit atExit;
}

void handOver(Task task, bool startIfNeedBe) {
    Shared& all = shared();
    MutexLock lock(all.mutex);
    if (startIfNeedBe && all.run == nullptr && !all.processEnds) startRun(all);
    if (all.run == nullptr) return;
    all.run->tasks.push_back(std::move(task));
    all.run->wakeUp();
}

}  // namespace

void DiscoveryThread::perform(Task task) {
    handOver(std::move(task), true);
}

void DiscoveryThread::performIfRunning(Task task) {
    handOver(std::move(task), false);
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
