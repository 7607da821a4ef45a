#include "transport/NSNotificationQueueAdditions.h"

#include <utility>

#include "platform/threads/MainThread.h"

namespace velmora {

void NSNotificationQueueAdditions::enqueueNotificationOnMainThreadPostingStyle(NSNotificationQueue& queue,
                                                                               const NSNotification& notification,
                                                                               unsigned long postingStyle) {
    enqueueNotificationOnMainThreadPostingStyleCoalesceMaskForModes(
        queue, notification, postingStyle, NSNotificationCoalescingOnName | NSNotificationCoalescingOnSender, nullptr);
}

void NSNotificationQueueAdditions::enqueueNotificationOnMainThreadPostingStyleCoalesceMaskForModes(
    NSNotificationQueue& queue, const NSNotification& notification, unsigned long postingStyle,
    std::uint32_t coalesceMask, const std::vector<std::string>* modes) {
    if (MainThread::isCurrent()) {
        queue.enqueueNotification(notification, postingStyle, coalesceMask, modes);
        return;
    }
    Arguments arguments{notification, static_cast<std::uint32_t>(postingStyle), coalesceMask, std::nullopt};
    if (modes != nullptr) arguments.modes = *modes;
    MainThread::perform([arguments = std::move(arguments)] { _enqueueNotification(arguments); });
}

void NSNotificationQueueAdditions::_enqueueNotification(const Arguments& arguments) {
    NSNotificationQueue::defaultQueue().enqueueNotification(arguments.notification, arguments.postingStyle,
                                                            arguments.coalesceMask,
                                                            arguments.modes ? &*arguments.modes : nullptr);
}

}  // namespace velmora
