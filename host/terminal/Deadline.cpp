#include "host/terminal/Deadline.h"

#include <utility>

namespace velmora {

Deadline::Deadline(std::chrono::milliseconds time, std::function<void()> handler)
    : thread_([this, end = fromNow(time), handler = std::move(handler)] { wait(end, handler); }) {}

Deadline::~Deadline() {
    {
        const MutexLock lock(mutex_);
        isCalledOff_ = true;
    }
    calledOff_.notify_one();
    thread_.join();
}

void Deadline::wait(Date end, const std::function<void()>& handler) {
    MutexLock lock(mutex_);
    while (!isCalledOff_ && calledOff_.wait_until(lock, end) == std::cv_status::no_timeout) {
    }
    if (!isCalledOff_) handler();
}

}  // namespace velmora
