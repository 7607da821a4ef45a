#include "server/FaultyReply.h"

#include <poll.h>

#include <asio/buffer.hpp>
#include <asio/write.hpp>
#include <utility>

namespace velmora {

namespace {

constexpr std::chrono::milliseconds kPauseBetweenSegments{50};
// How often a connection that is not read from is asked whether the client still has it.
constexpr std::chrono::milliseconds kEndLook{100};

std::vector<std::string> segmentsOf(const Delivery& delivery) {
    std::vector<std::string> segments;
    const std::size_t size = delivery.pieceSize == 0 ? delivery.text.size() : delivery.pieceSize;
    for (std::size_t at = 0; at < delivery.text.size(); at += size) {
        segments.push_back(delivery.text.substr(at, size));
    }
    if (!delivery.unasked.empty()) segments.push_back(delivery.unasked);
    return segments;
}

}  // namespace

FaultyReply::FaultyReply(asio::ip::tcp::socket& socket, const Delivery& delivery, Sending sending, Done done)
    : socket_(socket),
      timer_(socket.get_executor()),
      segments_(segmentsOf(delivery)),
      delay_(delivery.delay),
      after_(delivery.after),
      sending_(std::move(sending)),
      done_(std::move(done)) {}

void FaultyReply::start() {
    wait(delay_, &FaultyReply::sendNext);
}

void FaultyReply::wait(std::chrono::milliseconds time, void (FaultyReply::*next)()) {
    timer_.expires_after(time);
    timer_.async_wait([self = shared_from_this(), next](asio::error_code failure) {
        if (!failure) (*self.*next)();
    });
}

void FaultyReply::sendNext() {
    if (next_ == segments_.size()) return finish();
    const std::string& segment = segments_[next_++];
    sending_(segment);
    asio::async_write(socket_, asio::buffer(segment),
                      [self = shared_from_this()](asio::error_code failure, std::size_t) {
                          if (failure) return;
                          // A pause follows the last of several, too: what comes next is not one of them.
                          if (self->segments_.size() == 1) return self->finish();
                          self->wait(kPauseBetweenSegments, &FaultyReply::sendNext);
                      });
}

void FaultyReply::finish() {
    asio::error_code failure;
    switch (after_) {
        case Delivery::After::serve:
            return done_();
        case Delivery::After::close:
            // In order, whatever the client still sends: closing at once would answer that with a reset.
            socket_.shutdown(asio::ip::tcp::socket::shutdown_send, failure);
            return discardUntilTheEnd();
        case Delivery::After::reset:
            socket_.set_option(asio::socket_base::linger(true, 0), failure);
            socket_.close(failure);
            return;
        case Delivery::After::stopReading:
            return holdUntilTheEnd();
    }
}

void FaultyReply::discardUntilTheEnd() {
    socket_.async_read_some(asio::buffer(discarded_),
                            [self = shared_from_this()](asio::error_code failure, std::size_t) {
                                if (!failure) self->discardUntilTheEnd();
                            });
}

void FaultyReply::holdUntilTheEnd() {
    pollfd end{socket_.native_handle(), POLLRDHUP, 0};
    if (::poll(&end, 1, 0) == 0) wait(kEndLook, &FaultyReply::holdUntilTheEnd);
}

}  // namespace velmora
