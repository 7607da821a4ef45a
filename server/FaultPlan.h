// Faults that the server commits on purpose, so that clients can be tried against a peer that misbehaves: which there
// are, and which one is due.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/Result.h"
#include "platform/threads/ThreadAnnotations.h"

namespace velmora {

// How a reply goes out, and what the connection does after it.
struct Delivery {
    enum class After { serve, close, reset, stopReading };

    std::string text;                    // with its line end
    std::size_t pieceSize = 0;           // bytes that go out at once; 0 stands for all
    std::string unasked;                 // goes out by itself after the text; empty for nothing
    std::chrono::milliseconds delay{0};  // before the first byte
    After after = After::serve;
};

struct FaultVerb;

struct Fault {
    const FaultVerb* verb = nullptr;
    std::string text;     // the argument of a verb that takes a text
    int number = 0;       // the argument of a verb that takes a number
    std::string command;  // empty for every one
    int occasion = 0;     // counted from 1; 0 for every one
    std::string words;    // as it was asked for
};

// From VERB[=ARG][@COMMAND][#N]. The reason of a failure names what is allowed.
Result<Fault> parseFault(std::string_view text);
// All verbs with what they do, one to a line, for a reader.
std::string faultHelp();

// Whatever the fault, the server does what a command says; only the reply goes wrong. Any thread.
class FaultPlan {
  public:
    explicit FaultPlan(std::vector<Fault> faults = {}) { set(std::move(faults)); }
    // Replaces the faults and starts their counts anew.
    void set(std::vector<Fault> faults) EXCLUDES(mutex_);
    // Each as it was asked for.
    std::vector<std::string> words() const EXCLUDES(mutex_);

    // Counts a command line, and answers what all the faults that are due, in their order, make of its reply (given
    // without its end); none when no fault is due.
    std::optional<Delivery> delivery(std::string_view line, std::string_view reply) EXCLUDES(mutex_);
    // Counts a connection, and answers whether nothing may be said on it.
    bool nextConnectionIsMute() EXCLUDES(mutex_);
    // Whether the next connection may not be accepted for now. Counts nothing.
    bool acceptingIsHeld() const EXCLUDES(mutex_);

  private:
    struct Entry {
        Fault fault;
        std::int64_t met = 0;  // how many commands it has concerned so far
    };

    mutable Mutex mutex_;
    std::vector<Entry> entries_ GUARDED_BY(mutex_);
    std::int64_t connections_ GUARDED_BY(mutex_) = 0;
};

}  // namespace velmora
