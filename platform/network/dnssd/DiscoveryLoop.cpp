#include "platform/network/dnssd/DiscoveryLoop.h"

#include <avahi-common/simple-watch.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>

namespace velmora {

DiscoveryLoop::DiscoveryLoop()
    : wakeUpDescriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), poll_(avahi_simple_poll_new()) {
    if (poll_ == nullptr || !wakeUpDescriptor_) return;
    const auto wokenUp = [](AvahiWatch*, int descriptor, AvahiWatchEvent, void*) {
        std::uint64_t count = 0;
        [[maybe_unused]] const auto got = ::read(descriptor, &count, sizeof count);
    };
    wakeUp_ = poll()->watch_new(poll(), wakeUpDescriptor_.number(), AVAHI_WATCH_IN, wokenUp, nullptr);
}

DiscoveryLoop::~DiscoveryLoop() {
    if (wakeUp_ != nullptr) poll()->watch_free(wakeUp_);
    if (poll_ != nullptr) avahi_simple_poll_free(poll_);
}

const AvahiPoll* DiscoveryLoop::poll() const {
    return avahi_simple_poll_get(poll_);
}

void DiscoveryLoop::performAfter(Seconds delay, std::function<void()> work) {
    timers_.emplace(fromNow(delay), std::move(work));
}

void DiscoveryLoop::Timer::set(Date moment, std::function<void()> work) {
    cancel();
    pending_ = loop_.timers_.emplace(moment, [this, work = std::move(work)] {
        pending_.reset();
        work();
    });
}

void DiscoveryLoop::Timer::cancel() {
    if (pending_) loop_.timers_.erase(*pending_);
    pending_.reset();
}

void DiscoveryLoop::runDueTimers() {
    const Date now = std::chrono::steady_clock::now();
    while (!timers_.empty() && timers_.begin()->first <= now) {
        const auto timer = timers_.extract(timers_.begin());
        timer.mapped()();
    }
}

bool DiscoveryLoop::wait() {
    int milliseconds = -1;
    if (!timers_.empty()) {
        const auto rest =
            std::chrono::ceil<std::chrono::milliseconds>(timers_.begin()->first - std::chrono::steady_clock::now());
        milliseconds = static_cast<int>(std::clamp<std::int64_t>(rest.count(), 0, 3'600'000));
    }
    return avahi_simple_poll_iterate(poll_, milliseconds) == 0;
}

void DiscoveryLoop::wakeUp() const {
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = ::write(wakeUpDescriptor_.number(), &one, sizeof one);
}

}  // namespace velmora
