// What a check of a switch server looks at, and what it can find.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace velmora {

// In the order in which they are told.
enum class Check {
    address,
    answers,
    segments,
    silence,
    lineEnds,
    text,
    size,
    routes,
    labels,
    refresh,
    numbers,
    times,
    set
};
inline constexpr int kCheckCount = static_cast<int>(Check::set) + 1;
const char* nameOf(Check check);

enum class Finding {
    addressRefuses,
    announcedAnew,
    oneClient,
    noAnswer,
    closedInstead,
    brokenInstead,
    closedDuring,
    closedAfter,
    twoReplies,
    inPieces,
    tooLong,
    longReply,
    unasked,
    endless,
    noLineEnds,
    someLineEnds,
    manyLineEnds,
    notUtf8,
    controlInside,
    controlAround,
    wrongSize,
    looseSize,
    noMatrix,
    beyondSize,
    beyondDigits,
    sizeChanges,
    wrongRoute,
    refusedLabel,
    noLabel,
    sameLabels,
    refusedRefresh,
    emptyRefresh,
    strangerUnanswered,
    strangerAccepted,
    slow,
    longRebuild,
    hostBlocked,
    setWithoutRoute,
    setUnconfirmed,
    setIgnored,
    setLeft,
};

struct FindingRow {
    Finding finding;
    Check check;
    bool isProblem;  // otherwise a note
    const char* name;
    const char* consequence;  // for the plugin; follows the words of what was found and a semicolon
};
const FindingRow& rowOf(Finding finding);

// One thread at a time. Holds the words of the first occurrence of each finding only.
class Findings {
  public:
    struct Entry {
        const FindingRow* row;
        std::string what;
        std::size_t times;
        // What was found, how often, and what it means.
        std::string text() const;
    };

    void note(Finding finding, const std::string& what);
    bool has(Finding finding) const;
    bool hasAny(Check check) const;
    std::size_t problems() const;
    // In the order of their first occurrence within a check.
    std::vector<Entry> of(Check check) const;
    // The problem that was found first.
    const Entry* firstProblem() const;

  private:
    std::vector<Entry> entries_;
};

}  // namespace velmora
