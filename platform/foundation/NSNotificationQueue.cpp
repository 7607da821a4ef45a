#include "platform/foundation/NSNotificationQueue.h"

#include <algorithm>
#include <utility>

#include "platform/threads/MainThread.h"

namespace velmora {

namespace {

bool coalesce(const NSNotification& left, const NSNotification& right, std::uint32_t mask) {
    const bool onName = (mask & NSNotificationCoalescingOnName) != 0;
    const bool onSender = (mask & NSNotificationCoalescingOnSender) != 0;
    return (onName || onSender) && (!onName || left.name == right.name) && (!onSender || left.object == right.object);
}

}  // namespace

NSNotificationQueue::NSNotificationQueue(NSNotificationCenter& center)
    : center_(center), self_(std::make_shared<NSNotificationQueue*>(this)) {
    // Notifications that wait for a mode are looked at again when the loop changes its mode.
    modeObserver_ = MainThread::addModeObserver([this] {
        arrangePosting(NSPostASAP);
        arrangePosting(NSPostWhenIdle);
    });
}

NSNotificationQueue::~NSNotificationQueue() {
    MainThread::removeModeObserver(modeObserver_);
    *self_ = nullptr;
}

NSNotificationQueue& NSNotificationQueue::defaultQueue() {
    static auto* queue = new NSNotificationQueue(NSNotificationCenter::defaultCenter());
    return *queue;
}

void NSNotificationQueue::enqueueNotification(const NSNotification& notification, unsigned long postingStyle,
                                              std::uint32_t coalesceMask, const std::vector<std::string>* modes) {
    waiting_.remove_if(
        [&](const Waiting& waiting) { return coalesce(waiting.notification, notification, coalesceMask); });
    if (postingStyle == NSPostNow) {
        center_.postNotification(notification);
        return;
    }
    const NSPostingStyle style = postingStyle == NSPostWhenIdle ? NSPostWhenIdle : NSPostASAP;
    waiting_.push_back({++lastNumber_, notification, style,
                        modes != nullptr ? *modes : std::vector<std::string>{NSDefaultRunLoopMode}});
    arrangePosting(style);
}

void NSNotificationQueue::arrangePosting(NSPostingStyle style) {
    std::weak_ptr<void>& arranged = style == NSPostWhenIdle ? idlePosting_ : asapPosting_;
    const bool waits =
        std::any_of(waiting_.begin(), waiting_.end(), [&](const Waiting& waiting) { return waiting.style == style; });
    if (!arranged.expired() || !waits) return;
    auto arrangement = std::make_shared<char>();
    arranged = arrangement;
    auto work = [self = self_, style, arrangement = std::move(arrangement)]() mutable {
        arrangement.reset();
        if (*self != nullptr) (*self)->post(style);
    };
    if (style == NSPostWhenIdle) {
        MainThread::performWhenIdle(std::move(work));
    } else {
        MainThread::performLater(std::move(work));
    }
}

void NSNotificationQueue::post(NSPostingStyle style) {
    // Observers may enqueue (those wait for the next turn, so that the loop is never held), coalesce, or destroy this
    // queue.
    const std::shared_ptr<NSNotificationQueue*> self = self_;
    const std::uint64_t last = lastNumber_;
    while (*self != nullptr) {
        const auto next = std::find_if(waiting_.begin(), waiting_.end(), [&](const Waiting& waiting) {
            return waiting.style == style && waiting.number <= last &&
                   std::find(waiting.modes.begin(), waiting.modes.end(), MainThread::currentMode()) !=
                       waiting.modes.end();
        });
        if (next == waiting_.end()) return;
        const NSNotification notification = std::move(next->notification);
        waiting_.erase(next);
        center_.postNotification(notification);
    }
}

}  // namespace velmora
