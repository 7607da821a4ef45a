#include "server/ControlSession.h"

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <new>
#include <string_view>
#include <utility>

#include "platform/foundation/Text.h"
#include "server/ControlEvents.h"

namespace velmora {

namespace {

// Then it is the other sessions' turn.
constexpr int kLinesInATurn = 64;

}  // namespace

ControlSession::ControlSession(Descriptor connection, const ControlCommands& commands, std::function<void()> changed)
    : connection_(std::move(connection)),
      commands_(commands),
      changed_(std::move(changed)),
      readable_(connection_.number(), QSocketNotifier::Read),
      writable_(connection_.number(), QSocketNotifier::Write) {
    writable_.setEnabled(false);
    QObject::connect(&readable_, &QSocketNotifier::activated, &readable_, [this] { read(); });
    QObject::connect(&writable_, &QSocketNotifier::activated, &writable_, [this] { advance(); });
}

void ControlSession::read() {
    std::array<char, 64 * 1024> chunk;
    const ssize_t count = recv(connection_.number(), chunk.data(), chunk.size(), 0);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (count < 0) return end();
    inputEnded_ = count == 0;
    incoming_.append(chunk.data(), static_cast<std::size_t>(count));
    // The last line needs no end of its own.
    if (inputEnded_ && !incoming_.empty() && incoming_.back() != '\n') incoming_ += '\n';
    advance();
}

void ControlSession::advance() {
    bool mayHoldLine = true;
    for (int line = 0; line < kLinesInATurn && mayHoldLine && waiting() < kOutgoingLimit; ++line) {
        mayHoldLine = dump_ ? continueDump() : answerNextLine();
    }
    send();
    incoming_.erase(0, std::exchange(answered_, 0));
    if (inputEnded_ && !mayHoldLine && waiting() == 0) end();
    readable_.setEnabled(!ended_ && !inputEnded_ && !mayHoldLine);
    writable_.setEnabled(!ended_ && (mayHoldLine || waiting() > 0));
}

// False when no line is complete.
bool ControlSession::answerNextLine() {
    const std::size_t end = incoming_.find('\n', answered_);
    const std::string_view line = std::string_view(incoming_).substr(answered_, end - answered_);
    if (ended_ || (end == std::string::npos && !skipping_ && line.size() <= kMaximumLineBytes)) return false;
    answered_ = std::min(end, incoming_.size() - 1) + 1;
    // Of a line that is too long nothing is kept, and its reply does not wait for its end.
    if (!skipping_) answer(line);
    skipping_ = end == std::string::npos;
    return !skipping_;
}

void ControlSession::answer(std::string_view line) {
    if (line.size() > kMaximumLineBytes) {
        outgoing_ += ControlCommands::refusal(stringWithFormat("the line is longer than %li bytes", kMaximumLineBytes));
        return;
    }
    ControlCommands::Reply reply = commands_.answer(line);
    outgoing_ += reply.line;
    dump_ = std::move(reply.dump);
    if (!reply.subscribe) return;
    subscribed_ = *reply.subscribe;
    changed_();
}

// True, because a line may follow. Without memory the session ends; the missing line end shows that the reply is cut.
bool ControlSession::continueDump() {
    try {
        const QByteArray piece = dump_->nextPiece();
        outgoing_ += piece;
        if (piece.isEmpty()) dump_.reset();
    } catch (const std::bad_alloc&) {
        end();
    }
    return !ended_;
}

void ControlSession::sendEvent(const QByteArray& line) {
    const auto size = static_cast<std::size_t>(line.size());
    if (waiting() + size > kOutgoingLimit) send();
    if (leftOut_ > 0 || dump_ || waiting() + size > kOutgoingLimit) {
        ++leftOut_;
    } else {
        outgoing_ += line;
    }
}

void ControlSession::send() {
    while (!ended_ && (waiting() > 0 || (leftOut_ > 0 && !dump_))) {
        if (waiting() == 0) {
            outgoing_ = ControlEvents::leftOut(std::exchange(leftOut_, 0));
            sent_ = 0;
        }
        const ssize_t count = ::send(connection_.number(), outgoing_.data() + sent_, waiting(), MSG_NOSIGNAL);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0 && errno == EAGAIN) break;
        if (count < 0) return end();
        sent_ += static_cast<std::size_t>(count);
    }
    if (waiting() == 0) {
        std::string().swap(outgoing_);
        sent_ = 0;
    } else if (sent_ >= kOutgoingLimit) {
        outgoing_.erase(0, std::exchange(sent_, 0));
    }
    writable_.setEnabled(!ended_ && waiting() > 0);
}

void ControlSession::end() {
    if (std::exchange(ended_, true)) return;
    readable_.setEnabled(false);
    writable_.setEnabled(false);
    outgoing_.clear();
    dump_.reset();
    sent_ = 0;
    changed_();
}

}  // namespace velmora
