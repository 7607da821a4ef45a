#include "server/ClientConnection.h"

#include <poll.h>

#include <asio/buffer.hpp>
#include <asio/write.hpp>
#include <utility>

#include "platform/network/SocketAddress.h"

namespace velmora {

namespace {

// Bytes that a connection keeps for its next replies; the room for a rare burst is given back.
constexpr std::size_t kRoomKept = 4096;
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

ClientConnection::ClientConnection(asio::ip::tcp::socket socket, const SwitchProtocol& protocol,
                                   SwitchServerDelegate* delegate, FaultPlan* faults, ClientList& clients)
    : socket_(std::move(socket)),
      protocol_(protocol),
      delegate_(delegate),
      faults_(faults),
      mute_(faults != nullptr && faults->nextConnectionIsMute()),
      clients_(clients),
      timer_(socket_.get_executor()) {}

ClientConnection::~ClientConnection() {
    leave();
}

void ClientConnection::start() {
    asio::error_code failure;
    const auto peer = socket_.remote_endpoint(failure);
    if (!failure) socket_.set_option(asio::ip::tcp::no_delay(true), failure);
    // The kernel's probes end the connection of a client that has vanished without a word.
    if (!failure) socket_.set_option(asio::socket_base::keep_alive(true), failure);
    if (!failure) socket_.non_blocking(true, failure);
    if (failure) return;  // already gone
    name_ = SocketAddress(peer.data(), static_cast<socklen_t>(peer.size())).text();
    clients_.add(this, name_);
    if (delegate_) delegate_->serverDidGetClient(name_);
    readNext();
}

void ClientConnection::leave() {
    if (clients_.remove(this) && delegate_) delegate_->serverDidLoseClient(name_);
}

void ClientConnection::drop(bool withReset) {
    asio::error_code failure;  // of a connection that has ended meanwhile
    if (withReset) socket_.set_option(asio::socket_base::linger(true, 0), failure);
    if (!withReset) socket_.shutdown(asio::ip::tcp::socket::shutdown_both, failure);
    socket_.close(failure);
    timer_.cancel();
    leave();
}

void ClientConnection::readNext() {
    socket_.async_read_some(asio::buffer(incoming_),
                            [self = shared_from_this()](asio::error_code failure, std::size_t size) {
                                if (failure) return;
                                self->unanswered_ = {self->incoming_.data(), size};
                                self->answer();
                            });
}

void ClientConnection::answer() {
    if (!socket_.is_open()) return;  // dropped
    while (!faultyReply_) {
        const auto line = reader_.next(unanswered_);
        if (!line) break;
        answerLine(*line);
    }
    writeReplies();
}

void ClientConnection::answerLine(const LineReader::Line& line) {
    if (delegate_) delegate_->serverDidReceiveLine(name_, line.text);
    const std::size_t begin = replies_.size();
    if (line.tooLong) {
        replies_ += SwitchProtocol::kError;
    } else {
        protocol_.answer(line.text, replies_, name_);
    }
    const bool isFaulty = faults_ && commitFault(line.text, std::string_view(replies_).substr(begin));
    if (delegate_) tellOfCommand(line.text, std::string_view(replies_).substr(begin), isFaulty);
    if (isFaulty) return replies_.resize(begin);
    if (delegate_) delegate_->serverDidAnswerLine(name_, std::string_view(replies_).substr(begin));
    replies_ += "\r\n";
}

// True when the reply does not go out as it is.
bool ClientConnection::commitFault(std::string_view line, std::string_view reply) {
    if (mute_) return true;
    faultyReply_ = faults_->delivery(line, reply);
    return faultyReply_.has_value();
}

void ClientConnection::tellOfCommand(std::string_view line, std::string_view reply, bool isFaulty) {
    if (!isFaulty) return delegate_->serverDidCarryOut(name_, line, reply, false);
    const std::string all = mute_ ? "" : faultyReply_->text + faultyReply_->unasked;
    if (all.empty()) return delegate_->serverDidCarryOut(name_, line, {}, true);
    const std::string_view delivered(all.data(), all.size() - (all.ends_with("\r\n") ? 2 : 0));
    delegate_->serverDidCarryOut(name_, line, delivered, true);
}

void ClientConnection::writeReplies() {
    if (replies_.empty()) return repliesWritten();
    asio::error_code failure;
    const std::size_t written = socket_.write_some(asio::buffer(replies_), failure);
    if (failure && failure != asio::error::would_block) return;
    if (written == replies_.size()) return repliesWritten();
    // The client does not take its replies. Nothing more is read from it until it does.
    asio::async_write(socket_, asio::buffer(replies_) + written,
                      [self = shared_from_this()](asio::error_code ended, std::size_t) {
                          if (!ended) self->repliesWritten();
                      });
}

void ClientConnection::repliesWritten() {
    replies_.clear();
    if (replies_.capacity() > kRoomKept) replies_.shrink_to_fit();
    if (faultyReply_) return beginFaultyReply();
    readNext();
}

void ClientConnection::beginFaultyReply() {
    segments_ = segmentsOf(*faultyReply_);
    nextSegment_ = 0;
    wait(faultyReply_->delay, &ClientConnection::sendNextSegment);
}

void ClientConnection::sendNextSegment() {
    if (nextSegment_ == segments_.size()) return endFaultyReply();
    const std::string& segment = segments_[nextSegment_++];
    const std::string_view line(segment.data(), segment.size() - (segment.ends_with("\r\n") ? 2 : 0));
    if (delegate_) delegate_->serverDidAnswerLine(name_, line);
    asio::async_write(socket_, asio::buffer(segment),
                      [self = shared_from_this()](asio::error_code failure, std::size_t) {
                          if (failure) return;
                          // A pause follows the last of several, too: what comes next is not one of them.
                          if (self->segments_.size() == 1) return self->endFaultyReply();
                          self->wait(kPauseBetweenSegments, &ClientConnection::sendNextSegment);
                      });
}

void ClientConnection::endFaultyReply() {
    asio::error_code failure;
    switch (faultyReply_->after) {
        case Delivery::After::serve:
            faultyReply_.reset();
            return answer();
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

void ClientConnection::discardUntilTheEnd() {
    socket_.async_read_some(asio::buffer(incoming_),
                            [self = shared_from_this()](asio::error_code failure, std::size_t) {
                                if (!failure) self->discardUntilTheEnd();
                            });
}

void ClientConnection::holdUntilTheEnd() {
    if (!socket_.is_open()) return;  // dropped
    pollfd end{socket_.native_handle(), POLLRDHUP, 0};
    if (::poll(&end, 1, 0) == 0) wait(kEndLook, &ClientConnection::holdUntilTheEnd);
}

void ClientConnection::wait(std::chrono::milliseconds time, void (ClientConnection::*next)()) {
    timer_.expires_after(time);
    timer_.async_wait([self = shared_from_this(), next](asio::error_code failure) {
        if (!failure) (*self.*next)();
    });
}

}  // namespace velmora
