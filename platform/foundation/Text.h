// Text as the system uses it: UTF-8 in std::string. Every function here may be called on any thread.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace velmora {

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

    std::int64_t integer() const;
    // The text of the argument; "(null)" for an absent object, the decimal digits of an integer.
    std::string text() const;

  private:
    std::variant<std::monostate, std::int64_t, std::string_view> value_;
};

// Formats the placeholders of the system's texts: "%@" (an object's text; "(null)" when absent), "%s" (a text), "%li"
// (64-bit signed),
// "%i" (32-bit signed, the low 32 bits of its argument), each integer with an optional zero-padded width ("%04li", a
// minus sign included in the width), and "%%". A placeholder without an argument, or of another form, stays in the text
// as it stands.
std::string stringWithFormat(std::string_view format, std::span<const FormatArgument> arguments);

template <typename... Arguments>
std::string stringWithFormat(std::string_view format, const Arguments&... arguments) {
    if constexpr (sizeof...(arguments) == 0) {
        return stringWithFormat(format, std::span<const FormatArgument>());
    } else {
        const FormatArgument list[] = {FormatArgument(arguments)...};
        return stringWithFormat(format, std::span<const FormatArgument>(list));
    }
}

// Lenient reading of a decimal integer: leading white space is skipped, an optional sign and the leading digits are
// read, the rest is ignored; no digits read as 0. A number out of range clamps to the limits of the type.
std::int64_t integerValue(std::string_view text);
std::int32_t intValue(std::string_view text);

// Immutable once it is handed out; null means none.
using StringList = std::shared_ptr<const std::vector<std::string>>;
// Made in code that is never unloaded, so that a host may keep what a plugin gave it longer than the plugin.
StringList makeStringList(std::vector<std::string> texts = {});

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
// "\n", "\t", "\r",
// "\xNN" or "\u{NNNN}", bytes that are not UTF-8 become "\xNN". Backslashes stay as they are.
std::string stringByEscapingControlCharacters(std::string_view text);
// The same characters, each in the notation of a document that has one of its own; bytes that are not UTF-8 are handed
// over as U+FFFD.
std::string stringByReplacingControlCharacters(std::string_view text,
                                               const std::function<std::string(char32_t character)>& notation);
// The character's number in hexadecimal digits, capitals, at least `width` of them.
std::string hexadecimalDigits(char32_t number, std::size_t width);

// The text between quotation marks, escaped as above; of a long one its beginning and "...": for a sentence that speaks
// of what somebody else wrote.
std::string quotedText(std::string_view text);

}  // namespace velmora
