// The smallest program that gives the socket its own thread: the bare client on that thread, and one semaphore each
// way. What it adds to the bare client's time is the cost of any two hand-overs.
#pragma once

#include <semaphore.h>

#include <cstdint>
#include <exception>
#include <string_view>
#include <thread>

#include "bench/BareClient.h"

namespace velmora::bench {

class ThreadedClient {
  public:
    // Connects to that port of 127.0.0.1. Throws Wrong when it cannot.
    explicit ThreadedClient(std::uint16_t port);
    ThreadedClient(const ThreadedClient&) = delete;
    ThreadedClient& operator=(const ThreadedClient&) = delete;
    ~ThreadedClient();

    // As BareClient::exchange. The thread runs on the cores that its caller may use.
    std::string_view exchange(std::string_view line);

  private:
    void serve();
    static void take(sem_t& semaphore);

    BareClient client_;
    sem_t asked_;
    sem_t answered_;
    // The semaphores hand these over; an empty line ends the thread.
    std::string_view line_;
    std::string_view reply_;
    std::exception_ptr failure_;
    std::thread thread_;
};

}  // namespace velmora::bench
