// Waiting for something that other threads make true with atomics: no mutex, and no system call while nobody waits.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

namespace velmora {

// Any thread. Who waits takes a ticket, looks whether it is true already, and otherwise waits with that ticket; who
// makes it true announces that afterwards. What comes behind the ticket is never missed.
class EventCount {
  public:
    using Ticket = std::uint32_t;

    Ticket ticket() const { return count_; }
    // Returns when something has been announced since the ticket was taken, when the deadline has passed, or for no
    // reason.
    void wait(Ticket ticket, std::chrono::steady_clock::time_point deadline);
    // Wakes everyone who waits.
    void announce();

  private:
    // What the kernel compares when a thread is about to sleep.
    std::atomic<std::uint32_t> count_ = 0;
    static_assert(sizeof count_ == sizeof(std::uint32_t) && decltype(count_)::is_always_lock_free);
    std::atomic<std::uint32_t> waiting_ = 0;
};

}  // namespace velmora
