// A counted reference that is read and replaced as a whole, from any thread: a reader sees the old object or the new
// one. A mutex rather than std::atomic<std::shared_ptr>, whose load races with the next store in libstdc++ 12.
#pragma once

#include <memory>
#include <utility>

#include "platform/threads/ThreadAnnotations.h"

namespace velmora {

template <typename T>
class AtomicReference {
  public:
    explicit AtomicReference(std::shared_ptr<T> value = nullptr) : value_(std::move(value)) {}

    std::shared_ptr<T> load() const {
        MutexLock lock(mutex_);
        return value_;
    }

    // The object that stood here before is released outside the lock.
    void store(std::shared_ptr<T> value) { exchange(std::move(value)); }

    // Answers the object that stood here before.
    std::shared_ptr<T> exchange(std::shared_ptr<T> value) {
        MutexLock lock(mutex_);
        value_.swap(value);
        return value;
    }

  private:
    mutable Mutex mutex_;
    std::shared_ptr<T> value_ GUARDED_BY(mutex_);
};

}  // namespace velmora
