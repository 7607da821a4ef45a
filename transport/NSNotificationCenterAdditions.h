// Posting on a notification center from any thread, such that the observers run on the main thread.
#pragma once

#include <string>

#include "platform/foundation/NSNotificationCenter.h"

namespace velmora {

// Added operations on the center, without state of their own. Any thread, except for the two that begin with an
// underscore. The product calls postNotificationOnMainThreadWithNameObject only.
//
// On the main thread each posts on the given center before it returns. On another thread the main thread posts, and
// always on the default center, whichever was given: that is intended.
struct NSNotificationCenterAdditions {
    static void postNotificationOnMainThread(NSNotificationCenter& center, const NSNotification& notification);
    // With `waitUntilDone` the observers have run when the call returns (or the application object has gone).
    static void postNotificationOnMainThreadWaitUntilDone(NSNotificationCenter& center,
                                                          const NSNotification& notification, bool waitUntilDone);
    static void postNotificationOnMainThreadWithNameObject(NSNotificationCenter& center, const std::string& name,
                                                           const void* object);
    static void postNotificationOnMainThreadWithNameObjectUserInfo(NSNotificationCenter& center,
                                                                   const std::string& name, const void* object,
                                                                   const DictionaryReference& userInfo);
    static void postNotificationOnMainThreadWithNameObjectUserInfoWaitUntilDone(NSNotificationCenter& center,
                                                                                const std::string& name,
                                                                                const void* object,
                                                                                const DictionaryReference& userInfo,
                                                                                bool waitUntilDone);

    // Carried across to the main thread.
    struct Arguments {
        std::string name;
        const void* object = nullptr;
        DictionaryReference userInfo;
    };

    // Main thread only; on the default center.
    static void _postNotification(const NSNotification& notification);
    static void _postNotificationName(const Arguments& arguments);
};

}  // namespace velmora
