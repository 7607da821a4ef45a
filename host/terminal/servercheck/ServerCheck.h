// Asks a switch server what the plugin asks, and finds out what the plugin would stumble over.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "host/SettingsCheck.h"
#include "host/terminal/servercheck/Interrogation.h"

namespace velmora {

// What was left out is told in this many sentences at most.
inline constexpr std::size_t kMaximumLeftOut = 20;

// One thread at a time; blocks it.
class ServerCheck {
  public:
    // At the addresses, in the order in which the plugin would try them. Ends at `end`, but for the time to put a route
    // back.
    ServerCheck(const std::vector<SocketAddress>& addresses, Date end, CheckLimits limits = {});

    // This many times, each on a fresh connection. A failure when no address takes a connection; everything else is a
    // finding. Changes nothing.
    Result<void> run(int times);
    // Sets the output (from 1) to the input that it has, to another, and back.
    void trySet(std::int64_t output);

    Findings& findings() { return findings_; }
    const ReplyTimes& times() const { return times_; }
    const SocketAddress& address() const { return wire_.address(); }
    // What was not asked, and why.
    const std::vector<std::string>& leftOut() const { return leftOut_; }
    // What is to be said of a check without findings; "" when nothing is, because too little was asked.
    std::string good(Check check) const;

  private:
    void once();
    bool askSize();
    void takeSize(const std::string& text);
    void askLabel(Word word, std::size_t number, bool listens);
    void askRefresh(bool listens);
    std::optional<std::int64_t> askRoute(std::int64_t output, bool listens);
    void askBesides();
    // All routes, now that the inputs are known, and the labels of all but number 1, which has been asked.
    void askAll();
    void askStrangers();
    void leaveOut(const std::string& what);
    void finish();

    std::int64_t inputFor(std::int64_t output);
    std::int64_t set(std::int64_t output, std::int64_t input);
    void putBack(std::int64_t output, std::int64_t input);

    struct Labels {
        std::set<std::size_t> numbers;  // of all rounds
        std::string first;
        bool areSame = true;
    };
    void judgeLabels(const Labels& labels, std::size_t number, const char* whose);
    Labels& labelsOf(Word word) { return word == Word::inputLabel ? inputLabels_ : outputLabels_; }

    const std::vector<SocketAddress> addresses_;
    const Date end_;
    const CheckLimits limits_;
    Findings findings_;
    ReplyTimes times_;
    Interrogation wire_;
    std::optional<MatrixSize> size_;  // one that the plugin accepts
    std::string sizeText_;            // of the first reply
    std::size_t routes_ = 0;
    Labels inputLabels_;
    Labels outputLabels_;
    std::string refreshText_;
    std::string strangerText_;
    std::string setText_;
    bool isBesidesTried_ = false;
    std::vector<std::string> leftOut_;
};

}  // namespace velmora
