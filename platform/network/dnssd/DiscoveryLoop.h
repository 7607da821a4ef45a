// The event loop of the discovery thread: Avahi's descriptors and timers, and a descriptor and timers of our own.
#pragma once

#include <functional>
#include <map>
#include <optional>

#include "platform/threads/Moment.h"

// Avahi's, declared so that its headers are not needed here.
struct AvahiPoll;
struct AvahiSimplePoll;
struct AvahiWatch;

namespace velmora {

// One thread only.
class DiscoveryLoop {
  public:
    // `wakeUpDescriptor` is an eventfd, not owned: writing to it ends a wait. -1 for none.
    explicit DiscoveryLoop(int wakeUpDescriptor);
    DiscoveryLoop(const DiscoveryLoop&) = delete;
    DiscoveryLoop& operator=(const DiscoveryLoop&) = delete;
    ~DiscoveryLoop();

    // Null when the loop could not be made.
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

  private:
    AvahiSimplePoll* const poll_;
    AvahiWatch* wakeUp_ = nullptr;
    std::multimap<Date, std::function<void()>> timers_;
};

}  // namespace velmora
