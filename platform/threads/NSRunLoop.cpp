#include "platform/threads/NSRunLoop.h"

#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <limits>
#include <utility>

namespace velmora {

namespace {
// Sources count from 1.
constexpr std::uint64_t kWakeUpId = 0;
constexpr std::uint64_t kAlarmId = std::numeric_limits<std::uint64_t>::max();

thread_local std::shared_ptr<NSRunLoop> currentLoop;
}  // namespace

const std::shared_ptr<NSRunLoop>& NSRunLoop::currentRunLoop() {
    return currentLoop;
}

void NSRunLoop::setCurrentRunLoop(std::shared_ptr<NSRunLoop> runLoop) {
    currentLoop = std::move(runLoop);
}

NSRunLoop::NSRunLoop()
    : poller_(epoll_create1(EPOLL_CLOEXEC)),
      wakeUpDescriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      alarmDescriptor_(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)) {
    isUsable_ = watch(wakeUpDescriptor_, kWakeUpId) && watch(alarmDescriptor_, kAlarmId);
}

// Edge-triggered, so that neither descriptor has to be read.
bool NSRunLoop::watch(int descriptor, std::uint64_t id) const {
    epoll_event event{};
    event.events = EPOLLIN | EPOLLET;
    event.data.u64 = id;
    return epoll_ctl(poller_, EPOLL_CTL_ADD, descriptor, &event) == 0;
}

NSRunLoop::~NSRunLoop() {
    closeDescriptors();
}

void NSRunLoop::closeDescriptors() {
    MutexLock lock(wakeUpMutex_);
    for (int* const descriptor : {&alarmDescriptor_, &wakeUpDescriptor_, &poller_}) {
        if (*descriptor >= 0) close(std::exchange(*descriptor, -1));
    }
}

void NSRunLoop::runModeUntilDate(const char* mode, Date deadline) {
    bool ranWork = false;
    while (true) {
        ranWork = runQueuedWork() || ranWork;
        const Date wanted = serveSources(mode, ranWork);
        ranWork = false;
        if (endRun_.exchange(false) || std::chrono::steady_clock::now() >= deadline) return;
        waitForEvents(std::min(deadline, wanted));
    }
}

bool NSRunLoop::runQueuedWork() {
    if (!hasQueued_) return false;
    // Moved away from the members, because work may run the loop.
    std::vector<QueuedWork> work = std::move(spareQueued_);
    {
        MutexLock lock(mutex_);
        noteEvents();  // before the work, which may end the watch that they come from
        work.swap(queued_);
        hasQueued_ = false;
    }
    for (QueuedWork& each : work) {
        each.run();
    }
    work.clear();
    spareQueued_ = std::move(work);
    return true;
}

void NSRunLoop::waitForEvents(Date deadline) {
    // Work that is queued already goes first, but not twice in a row: work without end must not hide the descriptors.
    if (hasQueued_ && !std::exchange(workWentFirst_, true)) return;
    workWentFirst_ = false;
    waiting_ = true;
    const bool atOnce = hasQueued_ || endRun_;
    setAlarm(deadline);
    eventCount_ = epoll_wait(poller_, events_.data(), static_cast<int>(events_.size()), atOnce ? 0 : -1);
    waiting_ = false;
}

void NSRunLoop::noteEvents() {
    for (int i = 0; i < eventCount_; ++i) {
        const epoll_event& event = events_[static_cast<std::size_t>(i)];
        if (event.data.u64 == kWakeUpId) continue;
        if (event.data.u64 == kAlarmId) {
            alarm_ = Date::max();  // it has rung; the same moment may be wanted again
            continue;
        }
        for (Scheduled& scheduled : sources_) {
            if (scheduled.id == event.data.u64) scheduled.pendingEvents |= event.events;
        }
    }
    eventCount_ = 0;
}

void NSRunLoop::setAlarm(Date moment) {
    if (moment == alarm_) return;
    alarm_ = moment;
    // An alarm in the past rings at once, but the all-zero one never would.
    itimerspec alarm{};
    alarm.it_value = timespecOf(std::max(moment, Date(std::chrono::nanoseconds(1))));
    timerfd_settime(alarmDescriptor_, TFD_TIMER_ABSTIME, &alarm, nullptr);
}

Date NSRunLoop::serveSources(std::string_view mode, bool ranWork) {
    // Moved away from the member, because a source may run the loop.
    std::vector<Turn> turns = std::move(spareTurns_);
    {
        MutexLock lock(mutex_);
        noteEvents();
        for (Scheduled& scheduled : sources_) {
            if (std::find(scheduled.modes.begin(), scheduled.modes.end(), mode) == scheduled.modes.end()) continue;
            turns.push_back({scheduled.source, std::exchange(scheduled.pendingEvents, 0)});
        }
    }
    Date earliest = Date::max();
    for (const Turn& turn : turns) {
        if (turn.events != 0) turn.source->descriptorReady(turn.events);
        if (ranWork) turn.source->loopHasRunWork();
        auto wanted = turn.source->deadline();
        if (wanted && *wanted <= std::chrono::steady_clock::now()) {
            turn.source->deadlineReached();
            wanted = turn.source->deadline();
        }
        if (wanted) earliest = std::min(earliest, *wanted);
    }
    turns.clear();
    spareTurns_ = std::move(turns);
    return earliest;
}

bool NSRunLoop::perform(Work work) {
    return enqueue({std::move(work), nullptr});
}

bool NSRunLoop::enqueue(QueuedWork work) {
    {
        MutexLock lock(mutex_);
        if (ended_) return false;
        queued_.push_back(std::move(work));
        hasQueued_ = true;
    }
    interruptWait();
    return true;
}

NSRunLoop::Performed NSRunLoop::performAndWait(Work work, Date deadline) {
    if (currentRunLoop().get() == this) {
        work();
        return Performed::yes;
    }
    const auto outcome = std::make_shared<WorkOutcome>();
    if (!enqueue({std::move(work), outcome})) return Performed::loopEnded;
    if (!outcome->waitBeforeDate(deadline)) return Performed::deadlinePassed;
    return outcome->wasRun() ? Performed::yes : Performed::loopEnded;
}

void NSRunLoop::endRun() {
    endRun_ = true;
    interruptWait();
}

// The loop announces its wait before it looks for work a last time, so a wake-up is never lost. While it is busy it
// needs none.
void NSRunLoop::interruptWait() {
    if (!waiting_) return;
    MutexLock lock(wakeUpMutex_);
    if (wakeUpDescriptor_ < 0) return;  // the thread has ended meanwhile
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = write(wakeUpDescriptor_, &one, sizeof one);
}

void NSRunLoop::end() {
    std::vector<QueuedWork> unrun;
    std::vector<Scheduled> released;
    {
        MutexLock lock(mutex_);
        ended_ = true;
        unrun.swap(queued_);
        released.swap(sources_);
        closeDescriptors();
    }
    for (QueuedWork& work : unrun) {
        work.drop();
    }
}

NSRunLoop::Scheduled* NSRunLoop::find(const RunLoopSource* source) {
    const auto found = std::find_if(sources_.begin(), sources_.end(),
                                    [source](const Scheduled& scheduled) { return scheduled.source.get() == source; });
    return found == sources_.end() ? nullptr : &*found;
}

void NSRunLoop::addSourceForMode(const std::shared_ptr<RunLoopSource>& source, const char* mode) {
    MutexLock lock(mutex_);
    if (ended_) return;
    Scheduled* scheduled = find(source.get());
    if (scheduled == nullptr) {
        scheduled = &sources_.emplace_back();
        scheduled->source = source;
        scheduled->id = ++lastId_;
    }
    scheduled->modes.emplace_back(mode);
}

void NSRunLoop::removeSourceForMode(const std::shared_ptr<RunLoopSource>& source, const char* mode) {
    MutexLock lock(mutex_);
    Scheduled* scheduled = find(source.get());
    if (scheduled == nullptr) return;
    const auto found = std::find(scheduled->modes.begin(), scheduled->modes.end(), mode);
    if (found != scheduled->modes.end()) scheduled->modes.erase(found);
    if (!scheduled->modes.empty()) return;
    if (scheduled->descriptor >= 0) epoll_ctl(poller_, EPOLL_CTL_DEL, scheduled->descriptor, nullptr);
    sources_.erase(sources_.begin() + (scheduled - sources_.data()));
}

void NSRunLoop::watchDescriptor(const std::shared_ptr<RunLoopSource>& source, int descriptor) {
    MutexLock lock(mutex_);
    Scheduled* scheduled = find(source.get());
    if (scheduled == nullptr) return;
    epoll_event event{};
    event.events = EPOLLIN | EPOLLOUT | EPOLLRDHUP | EPOLLET;
    event.data.u64 = scheduled->id;
    if (epoll_ctl(poller_, EPOLL_CTL_ADD, descriptor, &event) == 0) scheduled->descriptor = descriptor;
}

void NSRunLoop::forgetDescriptor(const std::shared_ptr<RunLoopSource>& source) {
    MutexLock lock(mutex_);
    Scheduled* scheduled = find(source.get());
    if (scheduled == nullptr || scheduled->descriptor < 0) return;
    epoll_ctl(poller_, EPOLL_CTL_DEL, scheduled->descriptor, nullptr);
    scheduled->descriptor = -1;
    scheduled->pendingEvents = 0;
}

}  // namespace velmora
