// The event loop of the discovery thread: Avahi's descriptors and timers, and a descriptor and timers of our own.
#pragma once

#include <functional>
#include <map>
#include <optional>

#include "platform/foundation/Descriptor.h"
#include "platform/threads/Moment.h"

// Avahi's, declared so that its headers are not needed here.
struct AvahiPoll;
struct AvahiSimplePoll;
struct AvahiWatch;

namespace velmora {

// One thread only, except for wakeUp(); it may be made on another one.
class DiscoveryLoop {
  public:
    DiscoveryLoop();
    DiscoveryLoop(const DiscoveryLoop&) = delete;
    DiscoveryLoop& operator=(const DiscoveryLoop&) = delete;
    ~DiscoveryLoop();

    // False when the system had no descriptors left for it; then only wakeUp() may be called.
    bool isUsable() const { return wakeUp_ != nullptr; }
    const AvahiPoll* poll() const;

    // Runs the work once, after this time. Unlike Avahi's timers (0.8), these do not follow changes of the clock of the
    // day. No test changes that clock.
    void performAfter(Seconds delay, std::function<void()> work);
    void runDueTimers();

    // For one piece of work at a time, which is given up when the timer is destroyed.
    class Timer {
      public:
        explicit Timer(DiscoveryLoop& loop) : loop_(loop) {}
        Timer(const Timer&) = delete;
        Timer& operator=(const Timer&) = delete;
        ~Timer() { cancel(); }
        // Runs the work once, at this moment. Replaces what was set before.
        void set(Date moment, std::function<void()> work);
        void cancel();
        // Whether there is work that has not begun yet.
        bool isSet() const { return pending_.has_value(); }

      private:
        DiscoveryLoop& loop_;
        std::optional<std::multimap<Date, std::function<void()>>::iterator> pending_;
    };

    // Waits for the next event or timer and lets Avahi handle it. False when the loop cannot go on.
    bool wait();
    // Ends a wait, or else the next one. Any thread.
    void wakeUp() const;

  private:
    const Descriptor wakeUpDescriptor_;  // eventfd
    AvahiSimplePoll* const poll_;
    AvahiWatch* wakeUp_ = nullptr;
    std::multimap<Date, std::function<void()>> timers_;
};

}  // namespace velmora
