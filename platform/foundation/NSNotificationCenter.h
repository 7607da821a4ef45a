// Notifications: a name, an object and user info, delivered to whoever observes them. The product posts one of its own,
// "nodeConnectionDidNotOpen", and observes none; hosts may.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/foundation/PropertyList.h"
#include "platform/threads/ThreadAnnotations.h"

namespace velmora {

struct NSNotification {
    std::string name;
    // The sender; only compared, so it may be gone. Null means none.
    const void* object = nullptr;
    // Null means none.
    DictionaryReference userInfo;
};

// Any thread. Observers run on the posting thread, in the order in which they were added, before the posting call
// returns.
class NSNotificationCenter {
  public:
    using Observer = std::function<void(const NSNotification&)>;
    // Ends the observation when it is destroyed; an observer that is running at that moment on another thread still
    // finishes.
    class Observation {
      public:
        Observation(const Observation&) = delete;
        Observation& operator=(const Observation&) = delete;

      private:
        friend class NSNotificationCenter;
        struct Entry;
        explicit Observation(std::shared_ptr<Entry> entry) : entry_(std::move(entry)) {}
        std::shared_ptr<Entry> entry_;
    };

    // The center of the process.
    static NSNotificationCenter& defaultCenter();

    // An absent name or a null object matches any.
    [[nodiscard]] std::unique_ptr<Observation> addObserver(std::optional<std::string> name, const void* object,
                                                           Observer observer);

    void postNotification(const NSNotification& notification);
    void postNotificationNameObjectUserInfo(const std::string& name, const void* object,
                                            const DictionaryReference& userInfo);

  private:
    Mutex mutex_;
    std::vector<std::weak_ptr<Observation::Entry>> entries_ GUARDED_BY(mutex_);
};

}  // namespace velmora
