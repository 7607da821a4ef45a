// The smallest program that leaves the socket to a thread of its own: the bare client on that thread, and one semaphore
// each way. What it costs more than the bare client is what any two hand-overs cost.
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

    // As BareClient::exchange. The thread runs where its caller may run.
    std::string_view exchange(std::string_view line);

  private:
    void serve();
    static void take(sem_t& semaphore);

    BareClient client_;
    sem_t asked_;
    sem_t answered_;
    // Handed over with the semaphores; a line without text ends the thread.
    std::string_view line_;
    std::string_view reply_;
    std::exception_ptr failure_;
    std::thread thread_;
};

}  // namespace velmora::bench
