#include "platform/foundation/Text.h"

#include <QByteArrayView>
#include <QChar>
#include <QString>
#include <algorithm>
#include <bit>
#include <charconv>
#include <limits>
#include <utility>

namespace velmora {

namespace {

constexpr char32_t kLastCharacter = 0x10FFFF;

// One step through a text: a character, or a single byte that begins none.
struct Step {
    // For a byte that begins no character: its value above the last character, so that such bytes have an order, too.
    char32_t character;
    std::size_t length;

    bool valid() const { return character <= kLastCharacter; }
};

// The step at `position`, which is before the end.
Step stepAt(std::string_view text, std::size_t position) {
    const auto first = static_cast<unsigned char>(text[position]);
    if (first < 0x80) return {first, 1};
    const auto length = static_cast<std::size_t>(std::countl_one(first));
    const std::string_view bytes = text.substr(position, length);
    if (!isValidUTF8(bytes)) return {kLastCharacter + 1 + first, 1};
    char32_t character = first & (0x7F >> length);
    for (const char byte : bytes.substr(1)) {
        character = (character << 6) | (static_cast<unsigned char>(byte) & 0x3F);
    }
    return {character, length};
}

bool isControl(char32_t character) {
    if (character < 0x80) return character < 0x20 || character == 0x7F;
    const QChar::Category category = QChar::category(character);
    return category == QChar::Other_Control || category == QChar::Other_Format;
}

// Characters that a terminal obeys, or takes for the end of a line, instead of showing them.
bool isUnsafeToShow(char32_t character) {
    return isControl(character) || character == QChar::LineSeparator || character == QChar::ParagraphSeparator;
}

// The text with each step that is unsafe to show written by `notation`.
template <typename Notation>
std::string byReplacingUnsafe(std::string_view text, Notation notation) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t position = 0; position < text.size();) {
        const Step step = stepAt(text, position);
        if (step.valid() && !isUnsafeToShow(step.character)) {
            result.append(text, position, step.length);
        } else {
            result += notation(step, static_cast<unsigned char>(text[position]));
        }
        position += step.length;
    }
    return result;
}

char32_t folded(const Step& step) {
    return step.valid() ? QChar::toCaseFolded(step.character) : step.character;
}

std::string paddedWithZeros(std::int64_t number, std::size_t width) {
    std::string digits = std::to_string(number);
    const std::size_t signs = number < 0 ? 1 : 0;
    if (digits.size() < width) digits.insert(signs, width - digits.size(), '0');
    return digits;
}

template <typename Integer>
Integer lenientInteger(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
    const bool negative = text.starts_with('-');
    // from_chars takes a minus sign itself, but no plus sign.
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-')) return 0;
    }
    Integer number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error == std::errc::result_out_of_range) {
        return negative ? std::numeric_limits<Integer>::min() : std::numeric_limits<Integer>::max();
    }
    return number;
}

std::string formatted(const FormatPlaceholder& placeholder, const FormatArgument& argument) {
    if (placeholder.kind == FormatPlaceholder::Kind::text) return argument.text();
    std::int64_t number = argument.integer();
    if (placeholder.kind == FormatPlaceholder::Kind::integer32) number = static_cast<std::int32_t>(number);
    return paddedWithZeros(number, placeholder.width);
}

}  // namespace

FormatArgument::FormatArgument(const char* text) {
    if (text != nullptr) value_ = std::string_view(text);
}

FormatArgument::FormatArgument(const std::optional<std::string>& text) {
    if (text) value_ = std::string_view(*text);
}

std::int64_t FormatArgument::integer() const {
    const auto* number = std::get_if<std::int64_t>(&value_);
    return number != nullptr ? *number : 0;
}

std::string FormatArgument::text() const {
    if (const auto* number = std::get_if<std::int64_t>(&value_)) return std::to_string(*number);
    if (const auto* text = std::get_if<std::string_view>(&value_)) return std::string(*text);
    return "(null)";
}

std::string stringWithArguments(std::string_view checkedFormat, std::span<const FormatArgument> arguments) {
    std::string result;
    result.reserve(checkedFormat.size() + 16 * arguments.size());
    for (std::string_view rest = checkedFormat;;) {
        const std::size_t percent = std::min(rest.find('%'), rest.size());
        result.append(rest, 0, percent);
        rest.remove_prefix(percent);
        if (rest.empty()) return result;
        const auto placeholder = FormatPlaceholder::atBeginningOf(rest);
        rest.remove_prefix(placeholder.length);
        if (placeholder.kind == FormatPlaceholder::Kind::percentSign) {
            result += '%';
        } else {
            result += formatted(placeholder, arguments.front());
            arguments = arguments.subspan(1);
        }
    }
}

std::int64_t integerValue(std::string_view text) {
    return lenientInteger<std::int64_t>(text);
}

std::int32_t intValue(std::string_view text) {
    return lenientInteger<std::int32_t>(text);
}

int caseInsensitiveCompare(std::string_view left, std::string_view right) {
    std::size_t l = 0;
    std::size_t r = 0;
    while (l < left.size() && r < right.size()) {
        const Step leftStep = stepAt(left, l);
        const Step rightStep = stepAt(right, r);
        const char32_t leftFolded = folded(leftStep);
        const char32_t rightFolded = folded(rightStep);
        if (leftFolded != rightFolded) return leftFolded < rightFolded ? -1 : 1;
        l += leftStep.length;
        r += rightStep.length;
    }
    return static_cast<int>(l < left.size()) - static_cast<int>(r < right.size());
}

std::vector<std::string> componentsSeparatedByString(std::string_view text, std::string_view separator) {
    std::vector<std::string> components;
    while (!separator.empty()) {
        const std::size_t end = text.find(separator);
        if (end == std::string_view::npos) break;
        components.emplace_back(text.substr(0, end));
        text.remove_prefix(end + separator.size());
    }
    components.emplace_back(text);
    return components;
}

bool isValidUTF8(std::string_view bytes) {
    return QByteArrayView(bytes.data(), static_cast<qsizetype>(bytes.size())).isValidUtf8();
}

std::optional<std::string> stringWithUTF8Bytes(std::string_view bytes) {
    if (!isValidUTF8(bytes)) return std::nullopt;
    return std::string(bytes);
}

std::string stringByTrimmingControlCharacters(std::string_view text) {
    std::size_t begin = text.size();
    std::size_t end = text.size();
    for (std::size_t position = 0; position < text.size();) {
        const Step step = stepAt(text, position);
        const bool stays = !step.valid() || !isControl(step.character);
        if (stays) begin = std::min(begin, position);
        position += step.length;
        if (stays) end = position;
    }
    return std::string(text.substr(begin, end - begin));
}

std::string hexadecimalDigits(char32_t number, std::size_t width) {
    return QString::number(number, 16).toUpper().rightJustified(static_cast<qsizetype>(width), '0').toStdString();
}

std::string stringByEscapingControlCharacters(std::string_view text) {
    return byReplacingUnsafe(text, [](const Step& step, unsigned char byte) -> std::string {
        if (byte == '\n') return "\\n";
        if (byte == '\t') return "\\t";
        if (byte == '\r') return "\\r";
        if (!step.valid() || byte < 0x80) return "\\x" + hexadecimalDigits(byte, 2);
        return "\\u{" + hexadecimalDigits(step.character, 4) + "}";  // not "\x", which stands for a byte there
    });
}

std::string stringByReplacingControlCharacters(std::string_view text,
                                               const std::function<std::string(char32_t)>& notation) {
    return byReplacingUnsafe(text, [&](const Step& step, unsigned char) {
        return notation(step.valid() ? step.character : char32_t{QChar::ReplacementCharacter});
    });
}

StringList makeStringList(std::vector<std::string> texts) {
    return std::make_shared<const std::vector<std::string>>(std::move(texts));
}

std::string quotedText(std::string_view text) {
    constexpr std::size_t kLongest = 80;
    std::size_t end = text.size();
    if (end > kLongest) {
        end = kLongest;
        while (end > kLongest - 4 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) {
            --end;  // no part of a character
        }
    }
    return '"' + stringByEscapingControlCharacters(text.substr(0, end)) + (end < text.size() ? "...\"" : "\"");
}

}  // namespace velmora
