// A mutex that clang's thread-safety analysis knows, and the annotations that say which member it guards. Other
// compilers see a plain mutex.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

#if defined(__clang__)
#define VELMORA_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define VELMORA_THREAD_ANNOTATION(x)
#endif

#define CAPABILITY(x) VELMORA_THREAD_ANNOTATION(capability(x))
#define SCOPED_CAPABILITY VELMORA_THREAD_ANNOTATION(scoped_lockable)
#define GUARDED_BY(x) VELMORA_THREAD_ANNOTATION(guarded_by(x))
#define REQUIRES(...) VELMORA_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define EXCLUDES(...) VELMORA_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define ACQUIRE(...) VELMORA_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define RELEASE(...) VELMORA_THREAD_ANNOTATION(release_capability(__VA_ARGS__))

namespace velmora {

class CAPABILITY("mutex") Mutex {
  public:
    void lock() ACQUIRE() { mutex_.lock(); }
    void unlock() RELEASE() { mutex_.unlock(); }

  private:
    friend class Condition;
    std::mutex mutex_;
};

// Holds a Mutex for a scope; may be given back and taken again in between.
class SCOPED_CAPABILITY MutexLock {
  public:
    explicit MutexLock(Mutex& mutex) ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;
    ~MutexLock() RELEASE() {
        if (held_) mutex_.unlock();
    }

    void lock() ACQUIRE() {
        mutex_.lock();
        held_ = true;
    }
    void unlock() RELEASE() {
        held_ = false;
        mutex_.unlock();
    }

  private:
    friend class Condition;
    Mutex& mutex_;
    bool held_ = true;
};

// A condition variable for holders of a Mutex. std::condition_variable_any would do, but it guards itself with a mutex
// of its own, on which a woken thread meets its waker.
class Condition {
  public:
    using Clock = std::chrono::steady_clock;

    void wait(MutexLock& lock) {
        Native native(lock);
        condition_.wait(native.lock);
    }
    std::cv_status wait_until(MutexLock& lock, Clock::time_point deadline) {
        Native native(lock);
        return condition_.wait_until(native.lock, deadline);
    }
    void notify_one() { condition_.notify_one(); }
    void notify_all() { condition_.notify_all(); }

  private:
    // The mutex that the lock holds, lent for a wait.
    struct Native {
        explicit Native(MutexLock& held) : lock(held.mutex_.mutex_, std::adopt_lock) {}
        Native(const Native&) = delete;
        Native& operator=(const Native&) = delete;
        ~Native() { lock.release(); }
        std::unique_lock<std::mutex> lock;
    };
    std::condition_variable condition_;
};

}  // namespace velmora
