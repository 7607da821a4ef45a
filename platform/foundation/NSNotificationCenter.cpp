#include "platform/foundation/NSNotificationCenter.h"

#include <utility>

namespace velmora {

struct NSNotificationCenter::Observation::Entry {
    std::optional<std::string> name;
    const void* object;
    Observer observer;

    bool matches(const NSNotification& notification) const {
        return (!name || *name == notification.name) && (object == nullptr || object == notification.object);
    }
};

NSNotificationCenter& NSNotificationCenter::defaultCenter() {
    // Never destroyed: other threads may post while the process ends.
    static auto* center = new NSNotificationCenter;
    return *center;
}

std::unique_ptr<NSNotificationCenter::Observation> NSNotificationCenter::addObserver(std::optional<std::string> name,
                                                                                     const void* object,
                                                                                     Observer observer) {
    auto entry = std::make_shared<Observation::Entry>(Observation::Entry{std::move(name), object, std::move(observer)});
    {
        MutexLock lock(mutex_);
        std::erase_if(entries_, [](const auto& ended) { return ended.expired(); });
        entries_.push_back(entry);
    }
    return std::unique_ptr<Observation>(new Observation(std::move(entry)));
}

void NSNotificationCenter::postNotification(const NSNotification& notification) {
    std::vector<std::weak_ptr<Observation::Entry>> entries;
    {
        MutexLock lock(mutex_);
        entries = entries_;
    }
    // Unlocked: observers may post, observe and end observations, whose observers are then no longer called.
    for (const auto& observation : entries) {
        const auto entry = observation.lock();
        if (entry && entry->matches(notification)) entry->observer(notification);
    }
}

void NSNotificationCenter::postNotificationNameObjectUserInfo(const std::string& name, const void* object,
                                                              const DictionaryReference& userInfo) {
    postNotification({name, object, userInfo});
}

}  // namespace velmora
