// One connection to a switch server that is being checked: one command at a time, read as the plugin reads.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

#include "platform/foundation/Descriptor.h"
#include "platform/threads/Moment.h"

namespace velmora {

// The command keeps these; tests shorten them.
struct CheckLimits {
    Seconds reply{10};    // for the reply to one command, as in the plugin; for all of an output's, more is a problem
    Seconds listen{0.2};  // without a byte, until a server counts as having said all
    Seconds slow{1};      // a reply that takes longer is a problem
};

// More than a server says after a reply, or unasked, before it counts as talking without end.
inline constexpr std::size_t kMaximumExtraBytes = 64 * 1024;
// The same in time, as a multiple of CheckLimits::listen.
inline constexpr int kMostListens = 10;

enum class WireEnd {
    none,
    closed,  // by the server, in order
    broken,  // by a reset or another failure
};

// What came on the connection without being the one read that is a reply.
struct Overheard {
    std::string bytes;     // the first of them; at most kMaximumReply
    std::size_t size = 0;  // of all
    bool isEndless = false;
    WireEnd end = WireEnd::none;
};

// A command and what came of it.
struct Exchange {
    Overheard before;                  // had come before the command was sent; if it has an end, nothing was sent
    std::optional<std::string> reply;  // what the first read brought
    Overheard after;                   // came after the reply, in the time of listening
    WireEnd end = WireEnd::none;       // instead of a reply
    Seconds time{0};                   // until the reply, or of waiting for it
};

// One thread at a time.
class WireClient {
  public:
    WireClient(Descriptor descriptor, CheckLimits limits) : descriptor_(std::move(descriptor)), limits_(limits) {}

    // Sends the command and reads once. Listens after a reply that does not end in `usualEnd`; "" is no end, so that it
    // never listens, and none means always. Takes until `end` at most, and the time of listening.
    Exchange ask(const std::string& command, const std::optional<std::string>& usualEnd, Date end);
    // What comes until nothing has come for the time.
    Overheard listen() { return overhear(limits_.listen); }

  private:
    Overheard overhear(Seconds quiet);
    // The number of bytes; 0 with the end that the connection has come to, if it has.
    std::size_t read(std::string& bytes, WireEnd& end);

    const Descriptor descriptor_;
    const CheckLimits limits_;
};

}  // namespace velmora
