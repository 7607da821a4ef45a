#include "bench/ThreadedClient.h"

#include <cerrno>

namespace velmora::bench {

ThreadedClient::ThreadedClient(std::uint16_t port) : client_(port) {
    sem_init(&asked_, 0, 0);
    sem_init(&answered_, 0, 0);
    thread_ = std::thread([this] { serve(); });
}

ThreadedClient::~ThreadedClient() {
    line_ = {};
    sem_post(&asked_);
    thread_.join();
    sem_destroy(&answered_);
    sem_destroy(&asked_);
}

std::string_view ThreadedClient::exchange(std::string_view line) {
    line_ = line;
    sem_post(&asked_);
    take(answered_);
    if (failure_) std::rethrow_exception(failure_);
    return reply_;
}

void ThreadedClient::serve() {
    while (true) {
        take(asked_);
        if (line_.empty()) return;
        try {
            reply_ = client_.exchange(line_);
        } catch (...) {
            failure_ = std::current_exception();
        }
        sem_post(&answered_);
    }
}

void ThreadedClient::take(sem_t& semaphore) {
    while (sem_wait(&semaphore) != 0 && errno == EINTR) {
    }
}

}  // namespace velmora::bench
