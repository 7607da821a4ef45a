// Text as the system uses it: UTF-8 in std::string. Every function here may be called on any thread.
#pragma once

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

#include "platform/foundation/StringList.h"

namespace velmora {

// What a percent sign begins in a format.
struct FormatPlaceholder {
    enum class Kind { none, percentSign, text, integer32, integer64 };

    Kind kind = Kind::none;
    std::size_t length = 1;  // with the percent sign
    std::size_t width = 0;

    // Of a text that begins with a percent sign.
    static constexpr FormatPlaceholder atBeginningOf(std::string_view text) {
        if (text.starts_with("%%")) return {Kind::percentSign, 2};
        if (text.starts_with("%@") || text.starts_with("%s")) return {Kind::text, 2};
        std::size_t end = 1;
        std::size_t width = 0;
        if (text.substr(end).starts_with('0')) {
            // Two digits of width are more than any of our texts asks for.
            for (++end; end < 4 && end < text.size() && text[end] >= '0' && text[end] <= '9'; ++end) {
                width = width * 10 + static_cast<std::size_t>(text[end] - '0');
            }
        }
        if (text.substr(end).starts_with("li")) return {Kind::integer64, end + 2, width};
        if (text.substr(end).starts_with("i")) return {Kind::integer32, end + 1, width};
        return {};
    }
};

// A format for arguments of which it is known whether they are numbers. One that does not fit them does not compile:
// each argument has its placeholder, that of an integer has an integer, and no other percent sign stands in it.
template <bool... isInteger>
class Format {
  public:
    template <std::convertible_to<std::string_view> Text>
    consteval Format(const Text& text) : text_(text) {
        constexpr bool kIsInteger[] = {isInteger..., false};
        std::size_t count = 0;
        std::string_view rest = text_;
        for (;;) {
            rest.remove_prefix(std::min(rest.find('%'), rest.size()));
            if (rest.empty()) break;
            const auto placeholder = FormatPlaceholder::atBeginningOf(rest);
            rest.remove_prefix(placeholder.length);
            if (placeholder.kind == FormatPlaceholder::Kind::percentSign) continue;
            if (placeholder.kind == FormatPlaceholder::Kind::none) throw "a percent sign that begins no placeholder";
            if (count == sizeof...(isInteger)) throw "more placeholders than arguments";
            if (placeholder.kind != FormatPlaceholder::Kind::text && !kIsInteger[count]) throw "a text for an integer";
            ++count;
        }
        if (count < sizeof...(isInteger)) throw "more arguments than placeholders";
    }

    std::string_view text() const { return text_; }

  private:
    std::string_view text_;
};

using FormatOfOneInteger = Format<true>;

// One argument of a format: an integer, a text, or an absent object. Refers to the text, which must outlive it.
class FormatArgument {
  public:
    template <std::integral Integer>
    FormatArgument(Integer value) : value_(static_cast<std::int64_t>(value)) {}
    FormatArgument(std::string_view text) : value_(text) {}
    FormatArgument(const std::string& text) : value_(text) {}
    // A null pointer is an absent object.
    FormatArgument(const char* text);
    FormatArgument(const std::optional<std::string>& text);
    FormatArgument(std::nullopt_t) {}

    // 0 for everything else.
    std::int64_t integer() const;
    // The text of the argument; "(null)" for an absent object, the decimal digits of an integer.
    std::string text() const;

  private:
    std::variant<std::monostate, std::int64_t, std::string_view> value_;
};

std::string stringWithArguments(std::string_view checkedFormat, std::span<const FormatArgument> arguments);

// Fills in the placeholders of the system's texts: "%@" (an object's text; "(null)" when absent), "%s" (a text), "%li"
// (64-bit signed), "%i" (32-bit signed, the low 32 bits of its argument), each integer with an optional zero-padded
// width ("%04li", a minus sign included in the width), and "%%".
template <typename... Arguments>
std::string stringWithFormat(std::type_identity_t<Format<std::integral<Arguments>...>> format,
                             const Arguments&... arguments) {
    if constexpr (sizeof...(arguments) == 0) {
        return stringWithArguments(format.text(), {});
    } else {
        const FormatArgument list[] = {FormatArgument(arguments)...};
        return stringWithArguments(format.text(), list);
    }
}

// Lenient reading of a decimal integer: leading white space is skipped, an optional sign and the leading digits are
// read, the rest is ignored; no digits read as 0. A number out of range clamps to the limits of the type.
std::int64_t integerValue(std::string_view text);
std::int32_t intValue(std::string_view text);

// Below 0, 0 or above 0: the order of the two texts, character by character, without regard to case.
int caseInsensitiveCompare(std::string_view left, std::string_view right);

// The pieces between the separators, always one more than there are separators: "" gives one empty piece.
std::vector<std::string> componentsSeparatedByString(std::string_view text, std::string_view separator);

// Strict: overlong forms, surrogates, numbers above U+10FFFF and cut-off sequences are invalid. An empty text is valid.
bool isValidUTF8(std::string_view bytes);
// The bytes as a text, or none when they are not valid UTF-8.
std::optional<std::string> stringWithUTF8Bytes(std::string_view bytes);

// The text without the control characters (general categories Cc and Cf) at its two ends. Blanks stay. The text is
// valid UTF-8.
std::string stringByTrimmingControlCharacters(std::string_view text);

// The text on one line and safe to show: control characters (Cc, Cf, and the line and paragraph separators) become
// "\n", "\t", "\r", "\xNN" or "\u{NNNN}"; bytes that are not UTF-8 become "\xNN". Backslashes stay as they are.
std::string stringByEscapingControlCharacters(std::string_view text);
// The same characters, each as `notation` writes it, for documents that have a notation of their own; bytes that are
// not UTF-8 are handed over as U+FFFD.
std::string stringByReplacingControlCharacters(std::string_view text,
                                               const std::function<std::string(char32_t character)>& notation);
// The character's number in hexadecimal digits, capitals, at least `width` of them.
std::string hexadecimalDigits(char32_t number, std::size_t width);

// For a sentence that quotes what somebody else wrote: the text between quotation marks, escaped as above; of a long
// one the beginning and "...".
std::string quotedText(std::string_view text);

}  // namespace velmora
