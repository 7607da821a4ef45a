// Putting a notification in the notification queue from any thread, such that the observers run on the main thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/foundation/NSNotificationQueue.h"

namespace velmora {

// Added operations on the queue, without state of their own. Any thread, except for the one that begins with an
// underscore. Nothing in the product calls these.
//
// On the main thread each enqueues on the given queue before it returns. On another thread the main thread enqueues,
// without being waited for, and always on the default queue, whichever was given: that is intended.
struct NSNotificationQueueAdditions {
    // Coalescing on name and sender, in the default mode.
    static void enqueueNotificationOnMainThreadPostingStyle(NSNotificationQueue& queue,
                                                            const NSNotification& notification,
                                                            unsigned long postingStyle);
    // Null modes stand for the default mode.
    static void enqueueNotificationOnMainThreadPostingStyleCoalesceMaskForModes(NSNotificationQueue& queue,
                                                                                const NSNotification& notification,
                                                                                unsigned long postingStyle,
                                                                                std::uint32_t coalesceMask,
                                                                                const std::vector<std::string>* modes);

    // Carried across to the main thread.
    struct Arguments {
        NSNotification notification;
        // Only the low 32 bits of the posting style travel: that is intended.
        std::uint32_t postingStyle = 0;
        std::uint32_t coalesceMask = 0;
        std::optional<std::vector<std::string>> modes;
    };

    // Main thread only; on the default queue.
    static void _enqueueNotification(const Arguments& arguments);
};

}  // namespace velmora
