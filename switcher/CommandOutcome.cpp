#include "switcher/CommandOutcome.h"

#include <algorithm>
#include <charconv>

#include "platform/foundation/Text.h"

namespace velmora {

namespace {

// None for anything but decimal digits, and for a number beyond 64 bits.
std::optional<std::int64_t> plainNumber(std::string_view text) {
    const bool digits = std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
    std::int64_t number = 0;
    if (!digits || std::from_chars(text.data(), text.data() + text.size(), number).ec != std::errc()) return {};
    return number;
}

CommandOutcome unusable(std::string reason) {
    return {CommandAnswer::unusableReply, std::move(reason)};
}

}  // namespace

CommandOutcome outcomeOfReply(const std::optional<std::string>& reply) {
    if (!reply) return unusable("The server's reply is not UTF-8");
    if (reply->empty()) return unusable("The server's reply is empty");
    if (reply->starts_with(kRefusal)) return {CommandAnswer::refused, "The server answered " + quotedText(*reply)};
    return {CommandAnswer::answered, ""};
}

CommandOutcome outcomeOfRouteReply(const std::optional<std::string>& reply, std::int64_t output, std::int64_t inputs) {
    auto outcome = outcomeOfReply(reply);
    if (outcome.answer != CommandAnswer::answered) return outcome;
    const std::string_view text = *reply;
    const auto blank = text.find(' ');
    const auto named = plainNumber(text.substr(0, blank));
    const auto input = blank != std::string_view::npos ? plainNumber(text.substr(blank + 1)) : std::nullopt;
    if (!named || !input) return unusable("The server's reply names no output and input: " + quotedText(text));
    if (*named != output) return unusable("The server's reply is about another output: " + quotedText(text));
    if (*input < 1 || (inputs > 0 && *input > inputs)) {
        return unusable("The server's reply names an input that there is not: " + quotedText(text));
    }
    return outcome;
}

}  // namespace velmora
