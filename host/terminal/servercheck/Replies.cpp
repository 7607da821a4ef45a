#include "host/terminal/servercheck/Replies.h"

#include <QString>
#include <algorithm>
#include <charconv>

#include "platform/foundation/Text.h"

namespace velmora {

namespace {

// None for anything but decimal digits, and for a number beyond 64 bits.
std::optional<std::int64_t> plainNumber(std::string_view text) {
    const bool isDigits = std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; });
    std::int64_t number = 0;
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), number);
    if (!isDigits || parsed.ec != std::errc()) return std::nullopt;
    return number;
}

}  // namespace

Result<SizeReply> sizeInReply(std::string_view text) {
    const auto pieces = componentsSeparatedByString(std::string(text), "x");
    if (pieces.size() != 2) return Failure{};
    const auto inputs = plainNumber(pieces[0]);
    const auto outputs = plainNumber(pieces[1]);
    if (inputs && outputs) return SizeReply{{std::size_t(*inputs), std::size_t(*outputs)}, true};
    const std::int32_t looseInputs = intValue(pieces[0]);
    const std::int32_t looseOutputs = intValue(pieces[1]);
    if (looseInputs <= 0 || looseOutputs <= 0) return Failure{};
    return SizeReply{{std::size_t(looseInputs), std::size_t(looseOutputs)}, false};
}

Result<std::int64_t> inputInReply(std::string_view text, std::int64_t output, std::size_t inputs) {
    const auto blank = std::min(text.find(' '), text.size());
    const auto named = plainNumber(text.substr(0, blank));
    const auto input = plainNumber(text.substr(std::min(blank + 1, text.size())));
    if (!named || !input) return Failure{"which names no output and input"};
    if (*named != output) return Failure{"which is about another output"};
    if (*input < 1 || (inputs > 0 && *input > static_cast<std::int64_t>(inputs)))
        return Failure{"which names an input that there is not"};
    return *input;
}

std::string_view lineEndOf(std::string_view reply) {
    const auto last = reply.find_last_not_of("\r\n");
    return reply.substr(last == std::string_view::npos ? 0 : last + 1);
}

std::string withoutControlCharacters(std::string_view text) {
    return stringByReplacingControlCharacters(text, [](char32_t character) {
        // Of what that function takes for one, formatting characters are a matter of the label.
        const bool isControl = character < 0x20 || (character >= 0x7F && character < 0xA0);
        return isControl ? std::string() : QString::fromUcs4(&character, 1).toStdString();
    });
}

}  // namespace velmora
