// The outcome of one question to a switch server, by its reply alone.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace velmora {

enum class CommandAnswer {
    answered,         // by a reply that says what it should
    unusableReply,    // a reply that says something else
    connectionEnded,  // before the reply, or with a part of it
    noAnswerInTime,   // the connection was given up
    noConnection,     // nothing was sent
    refused,          // the server answered that it will not
};

struct CommandOutcome {
    CommandAnswer answer = CommandAnswer::noConnection;
    std::string reason;  // in plain words, without a full stop; "" when it was answered
};

// A reply that begins with this is a refusal.
inline constexpr std::string_view kRefusal = "ERROR";

// Of any reply, by what all replies have in common. It is all that is asked of the reply to a SET: how a server
// confirms a route is not settled, so every text but a refusal will do. No text stands for bytes that are not UTF-8.
CommandOutcome outcomeOfReply(const std::optional<std::string>& reply);
// Of the reply to "GET output" (from 1, on the wire): answered by exactly that number, one blank, and the number of an
// input, which is no more than `inputs` where that is known (not 0).
CommandOutcome outcomeOfRouteReply(const std::optional<std::string>& reply, std::int64_t output, std::int64_t inputs);

}  // namespace velmora
