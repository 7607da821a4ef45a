#include "host/terminal/servercheck/Interrogation.h"

#include <algorithm>
#include <utility>

#include "host/terminal/SwitchSocket.h"
#include "host/terminal/servercheck/Replies.h"
#include "platform/foundation/Text.h"

namespace velmora {

namespace {

// As long as the plugin gives each of several addresses at first.
constexpr Seconds kConnectTime{2.5};
constexpr std::size_t kMostAddresses = 8;
// What fits into one segment on an Ethernet with IPv6 and time stamps.
constexpr std::size_t kOneSegment = 1420;
// Different line ends that are counted; a server that has more has many.
constexpr std::size_t kMostLineEnds = 8;

bool endsLine(std::string_view reply) {
    return reply.ends_with('\n') || reply.ends_with('\r');
}

std::string lineEndText(std::string_view end) {
    std::string text;
    for (const char c : end) {
        text += std::string(text.empty() ? "" : " ") + (c == '\r' ? "CR" : "LF");
    }
    return text;
}

const char* wordsOf(WireEnd end) {
    return end == WireEnd::closed ? "closed the connection" : "broke the connection (reset)";
}

}  // namespace

Interrogation::Interrogation(std::vector<SocketAddress> addresses, Date end, CheckLimits limits, Findings& findings,
                             ReplyTimes& times)
    : addresses_(std::move(addresses)), end_(end), limits_(limits), findings_(findings), times_(times) {}

Result<void> Interrogation::connect() {
    client_.reset();
    command_.clear();
    reply_.clear();
    Result<void> outcome = Failure{"it has no address"};
    // Once one has taken a connection, only that one is used.
    for (; used_ < addresses_.size(); ++used_) {
        auto made = connectionTo(addresses_[used_], std::min(end_, fromNow(kConnectTime)));
        if (made) {
            ++connections_;
            client_.emplace(*std::move(made), limits_);
            return {};
        }
        outcome = Failure{addresses_[used_].text() + ": " + made.failure().reason};
        if (connections_ > 0) return outcome;
        if (used_ + 1 < addresses_.size()) findings_.note(Finding::addressRefuses, outcome.failure().reason);
    }
    used_ = 0;
    return outcome;
}

void Interrogation::tryOtherAddresses() {
    for (std::size_t i = used_ + 1; i < std::min(addresses_.size(), used_ + kMostAddresses) && !isOver(); ++i) {
        const auto made = connectionTo(addresses_[i], std::min(end_, fromNow(kConnectTime)));
        if (!made) findings_.note(Finding::addressRefuses, addresses_[i].text() + ": " + made.failure().reason);
    }
}

std::optional<std::string> Interrogation::ask(Word word, const std::string& command, bool listens) {
    if (hasGivenUp(word)) return std::nullopt;
    const auto exchange = this->exchange(command, listens);
    if (!exchange) return std::nullopt;
    word_ = word;
    command_ = command;
    if (!exchange->reply) {
        noteMissing(word, command, *exchange);
        client_.reset();
        return std::nullopt;
    }
    ++answered_;
    times_.add(exchange->time);
    if (exchange->time >= limits_.slow)
        findings_.note(Finding::slow, command + " was answered after " + timeText(exchange->time));
    return judge(word, *exchange);
}

// A connection that has ended since the last command is made anew, once: its end is told as that of the last command.
std::optional<Exchange> Interrogation::exchange(const std::string& command, bool listens) {
    // Of a server that says more than it is asked, no reply is certain before it has been silent for a time.
    const bool alwaysListens = listens || findings_.has(Finding::unasked);
    for (int attempt = 0; attempt < 2 && !isOver(); ++attempt) {
        isSpent_ = !client_ && (connections_ >= kMaximumConnections || !connect());
        if (isSpent_) return std::nullopt;
        auto exchange = client_->ask(command, alwaysListens ? std::nullopt : usualEnd_, end_);
        noteBefore(exchange.before);
        if (client_) return exchange;
    }
    return std::nullopt;
}

void Interrogation::listen() {
    if (client_) noteBefore(client_->listen());
}

void Interrogation::noteBefore(const Overheard& heard) {
    if (heard.size > 0) reply_ += noteExtra(heard, reply_);
    if (heard.end != WireEnd::none) noteEnd(reply_, heard.end);
    if (heard.end == WireEnd::none && !heard.isEndless) return;
    if (!command_.empty()) givenUp_.insert(word_);
    client_.reset();
}

std::string Interrogation::noteExtra(const Overheard& heard, const std::string& reply) {
    const std::string after = command_.empty() ? "on a fresh connection" : "after the reply to " + command_;
    if (heard.isEndless) {
        findings_.note(Finding::endless, "more than " + std::to_string(heard.size - 1) + " bytes came " + after);
        return "";
    }
    const bool isRestOfEnd = (reply.ends_with('\r') && heard.bytes == "\n" && !reply.ends_with("\n\r")) ||
                             (reply.ends_with('\n') && heard.bytes == "\r" && !reply.ends_with("\r\n"));
    if (!command_.empty() && (isRestOfEnd || !endsLine(reply))) {
        findings_.note(Finding::inPieces, command_ + " was answered " + quotedText(reply) + " and then " +
                                              quotedText(heard.bytes) + " by itself");
        return heard.bytes;
    }
    findings_.note(Finding::unasked, quotedText(heard.bytes) + " came " + after);
    return "";
}

void Interrogation::noteEnd(const std::string& reply, WireEnd end) {
    if (command_.empty()) {
        findings_.note(Finding::closedInstead, std::string("it ") + wordsOf(end) + " before it was asked anything");
        return;
    }
    const bool isCut = !endsLine(reply) && usualEnd_ != "";
    findings_.note(
        isCut ? Finding::closedDuring : Finding::closedAfter,
        std::string("it ") + wordsOf(end) + " after it had answered " + command_ + " with " + quotedText(reply));
}

void Interrogation::noteMissing(Word word, const std::string& command, const Exchange& exchange) {
    const bool isSilent = exchange.end == WireEnd::none;
    // That little time says nothing of the server.
    if (isSilent && isOver() && exchange.time < limits_.slow) return;
    givenUp_.insert(word);
    const std::string what = isSilent ? command + " was not answered within " + timeText(exchange.time) +
                                            (isOver() ? ", when the time (--wait) was over" : "")
                                      : std::string("it ") + wordsOf(exchange.end) + " instead of answering " + command;
    if (word == Word::stranger) return findings_.note(Finding::strangerUnanswered, what);
    findings_.note(isSilent                          ? Finding::noAnswer
                   : exchange.end == WireEnd::closed ? Finding::closedInstead
                                                     : Finding::brokenInstead,
                   what);
}

std::optional<std::string> Interrogation::judge(Word word, const Exchange& exchange) {
    reply_ = *exchange.reply;
    const bool isTooLong = reply_.size() >= kMaximumReply;
    if (isTooLong) {
        findings_.note(Finding::tooLong, command_ + " was answered by " +
                                             (exchange.after.isEndless ? "more than " : "") +
                                             std::to_string(reply_.size() + exchange.after.size) + " bytes");
    } else if (exchange.after.size > 0) {
        reply_ += noteExtra(exchange.after, reply_);
    }
    if (!isTooLong && reply_.size() > kOneSegment)
        findings_.note(Finding::longReply, command_ + " was answered by " + std::to_string(reply_.size()) + " bytes");
    const bool isCut = !isTooLong && exchange.after.end != WireEnd::none && !endsLine(reply_) && usualEnd_ != "";
    if (exchange.after.end != WireEnd::none) noteEnd(reply_, exchange.after.end);
    if (exchange.after.end != WireEnd::none || exchange.after.isEndless) {
        client_.reset();
        givenUp_.insert(word);
    }
    if (isTooLong || isCut) return std::nullopt;
    return judgeText(reply_);
}

std::optional<std::string> Interrogation::judgeText(const std::string& reply) {
    const std::string end(lineEndOf(reply));
    if (!usualEnd_) usualEnd_ = end;
    if (ends_.size() < kMostLineEnds || ends_.contains(end)) ++ends_[end];
    std::string body = reply.substr(0, reply.size() - end.size());
    body.erase(0, body.find_first_not_of("\r\n"));
    if (const auto line = body.find_first_of("\r\n"); line != std::string::npos) {
        findings_.note(Finding::twoReplies, command_ + " was answered by more than a line: " + quotedText(reply));
        body.resize(line);
    }
    const std::string what = command_ + " was answered " + quotedText(body);
    if (!isValidUTF8(body)) {
        findings_.note(Finding::notUtf8, what + ", which is not UTF-8");
        return std::nullopt;
    }
    const std::string trimmed = stringByTrimmingControlCharacters(body);
    if (trimmed != body) findings_.note(Finding::controlAround, what + ", with control characters around it");
    std::string text = withoutControlCharacters(trimmed);
    if (text != trimmed) findings_.note(Finding::controlInside, what + ", with control characters in it");
    return text;
}

void Interrogation::beginAnew() {
    givenUp_.clear();
    isSpent_ = false;
    connections_ = std::min(connections_, 1);  // some address has taken one
}

std::string Interrogation::reason() const {
    return isSpent_ ? "it takes no more connections, or has ended too many" : "the time (--wait) was over";
}

std::string Interrogation::usualLineEnd() const {
    return lineEndText(usualEnd_.value_or(""));
}

void Interrogation::judgeLineEnds() {
    const auto bare = ends_.find("");
    if (bare == ends_.end()) {
        if (ends_.size() > 1) {
            findings_.note(Finding::manyLineEnds, "replies end with " + lineEndText(ends_.begin()->first) +
                                                      " and with " + lineEndText(std::next(ends_.begin())->first));
        }
        return;
    }
    if (ends_.size() == 1) return findings_.note(Finding::noLineEnds, "replies have no line end");
    findings_.note(Finding::someLineEnds, std::to_string(bare->second) + " replies have no line end, others have one");
}

}  // namespace velmora
