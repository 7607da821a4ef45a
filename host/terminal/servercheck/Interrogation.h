// The connections to a switch server that is being checked, and what its replies show of themselves, whatever they say.
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "host/terminal/servercheck/Findings.h"
#include "host/terminal/servercheck/ReplyTimes.h"
#include "host/terminal/servercheck/WireClient.h"
#include "platform/foundation/Result.h"
#include "platform/network/SocketAddress.h"

namespace velmora {

// The commands of the wire protocol; a stranger is one with a number that the matrix does not have.
enum class Word { matrixSize, get, set, inputLabel, outputLabel, refresh, stranger };

// Of one check. Connections made after others have ended; beyond this the server is left alone.
inline constexpr int kMaximumConnections = 64;

// One thread at a time.
class Interrogation {
  public:
    // Findings and times outlive it. Nothing is sent after `end`.
    Interrogation(std::vector<SocketAddress> addresses, Date end, CheckLimits limits, Findings& findings,
                  ReplyTimes& times);

    // A fresh connection, and the end of the one before.
    Result<void> connect();
    // To the other addresses, which are only tried.
    void tryOtherAddresses();
    // The reply as the plugin reads it, but for control characters in its middle and further lines, which are told as
    // findings. None when there is none or it says nothing. Makes a connection where the last one has ended. A word
    // that was not answered is not sent again.
    std::optional<std::string> ask(Word word, const std::string& command, bool listens = false);
    // To what the server says without being asked.
    void listen();
    // Once all is asked: what the replies show together.
    void judgeLineEnds();

    void setEnd(Date end) { end_ = end; }
    bool isOver() const { return isSpent_ || Date::clock::now() >= end_; }
    // Why it is over.
    std::string reason() const;
    bool hasGivenUp(Word word) const { return givenUp_.contains(word); }
    // Every word may be sent again, and as many connections be made.
    void beginAnew();
    const SocketAddress& address() const { return addresses_[used_]; }
    std::size_t answered() const { return answered_; }
    int connections() const { return connections_; }
    bool hasReadText() const { return usualEnd_.has_value(); }
    // As a person reads it: "CR LF"; "" where replies have none.
    std::string usualLineEnd() const;

  private:
    std::optional<Exchange> exchange(const std::string& command, bool listens);
    void noteBefore(const Overheard& heard);
    // The bytes that belong to the reply.
    std::string noteExtra(const Overheard& heard, const std::string& reply);
    void noteEnd(const std::string& reply, WireEnd end);
    void noteMissing(Word word, const std::string& command, const Exchange& exchange);
    std::optional<std::string> judge(Word word, const Exchange& exchange);
    std::optional<std::string> judgeText(const std::string& reply);

    const std::vector<SocketAddress> addresses_;
    Date end_;
    const CheckLimits limits_;
    Findings& findings_;
    ReplyTimes& times_;
    std::size_t used_ = 0;
    std::optional<WireClient> client_;
    int connections_ = 0;
    bool isSpent_ = false;  // no connection is made any more
    std::size_t answered_ = 0;
    std::set<Word> givenUp_;
    Word word_ = Word::matrixSize;             // of the last command
    std::string command_;                      // the last one on this connection
    std::string reply_;                        // and what it got; whole, with its line end
    std::optional<std::string> usualEnd_;      // of the first reply
    std::map<std::string, std::size_t> ends_;  // how many replies ended in which
};

}  // namespace velmora
