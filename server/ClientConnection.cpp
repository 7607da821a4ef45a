#include "server/ClientConnection.h"

#include <asio/buffer.hpp>
#include <asio/write.hpp>
#include <utility>

#include "platform/network/SocketAddress.h"
#include "server/FaultyReply.h"

namespace velmora {

namespace {

// Bytes that a connection keeps for its next replies; the room for a rare burst is given back.
constexpr std::size_t kRoomKept = 4096;

}  // namespace

ClientConnection::ClientConnection(asio::ip::tcp::socket socket, const SwitchProtocol& protocol,
                                   SwitchServerDelegate* delegate, FaultPlan* faults, std::atomic<std::size_t>& count)
    : socket_(std::move(socket)),
      protocol_(protocol),
      delegate_(delegate),
      faults_(faults),
      mute_(faults != nullptr && faults->nextConnectionIsMute()),
      count_(count) {
    ++count_;
}

ClientConnection::~ClientConnection() {
    --count_;
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
    readNext();
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
        protocol_.answer(line.text, replies_);
    }
    if (faults_ && commitFault(line.text, std::string_view(replies_).substr(begin))) return replies_.resize(begin);
    if (delegate_) delegate_->serverDidAnswerLine(name_, std::string_view(replies_).substr(begin));
    replies_ += "\r\n";
}

// True when the reply does not go out as it is.
bool ClientConnection::commitFault(std::string_view line, std::string_view reply) {
    if (mute_) return true;
    faultyReply_ = faults_->delivery(line, reply);
    return faultyReply_.has_value();
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
    if (faultyReply_) return sendFaultyReply();
    readNext();
}

void ClientConnection::sendFaultyReply() {
    const auto self = shared_from_this();
    const auto sending = [self](std::string_view segment) {
        if (segment.ends_with("\r\n")) segment.remove_suffix(2);
        if (self->delegate_) self->delegate_->serverDidAnswerLine(self->name_, segment);
    };
    const auto done = [self] {
        self->faultyReply_.reset();
        self->answer();
    };
    std::make_shared<FaultyReply>(socket_, *faultyReply_, sending, done)->start();
}

}  // namespace velmora
