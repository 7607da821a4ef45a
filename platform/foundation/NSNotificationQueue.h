// A queue in front of a notification center: notifications are posted later, and equal ones only once. Nothing in the
// product enqueues; it is here for the queue's extensions in transport/, which nothing in the product calls either.
#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "platform/foundation/NSNotificationCenter.h"

namespace velmora {

// When a queued notification is posted.
enum NSPostingStyle : unsigned long {
    NSPostWhenIdle = 1,  // when the main loop has nothing else to do
    NSPostASAP = 2,      // when the main loop next runs handed-over work
    NSPostNow = 3,       // before the enqueueing call returns
};

// What makes two queued notifications equal; the masks may be combined.
enum NSNotificationCoalescing : std::uint32_t {
    NSNotificationNoCoalescing = 0,
    NSNotificationCoalescingOnName = 1,
    NSNotificationCoalescingOnSender = 2,
};

// Main thread only.
class NSNotificationQueue {
  public:
    explicit NSNotificationQueue(NSNotificationCenter& center);
    ~NSNotificationQueue();
    NSNotificationQueue(const NSNotificationQueue&) = delete;
    NSNotificationQueue& operator=(const NSNotificationQueue&) = delete;

    // The queue of the default center.
    static NSNotificationQueue& defaultQueue();

    // Takes equal notifications that wait out of the queue, then queues this one, or posts it, with NSPostNow, whatever
    // the mode is. A queued one is posted only while the main loop is in one of the modes; null modes stand for the
    // default mode alone. An unknown style posts as soon as possible.
    void enqueueNotification(const NSNotification& notification, unsigned long postingStyle, std::uint32_t coalesceMask,
                             const std::vector<std::string>* modes);

  private:
    struct Waiting {
        // Counts up from 1.
        std::uint64_t number;
        NSNotification notification;
        NSPostingStyle style;
        std::vector<std::string> modes;
    };

    void post(NSPostingStyle style);
    void arrangePosting(NSPostingStyle style);

    NSNotificationCenter& center_;
    std::list<Waiting> waiting_;
    std::uint64_t lastNumber_ = 0;
    // Not expired while posting in that style is arranged; expired, too, when the main loop has dropped the work.
    std::weak_ptr<void> asapPosting_;
    std::weak_ptr<void> idlePosting_;
    int modeObserver_ = 0;
    // Outlives the queue, so that arranged posting can tell that the queue is gone.
    std::shared_ptr<NSNotificationQueue*> self_;
};

}  // namespace velmora
