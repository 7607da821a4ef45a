#include "platform/widgets/DisplayText.h"

#include "platform/foundation/Text.h"

namespace velmora {

namespace {

constexpr std::string_view kNonJoiner = "\u200C";
constexpr std::string_view kJoiner = "\u200D";
constexpr std::string_view kFlag = "\U0001F3F4";
constexpr std::string_view kTagEnd = "\U000E007F";
constexpr std::string_view kTagsBegin = "\xF3\xA0";  // the first bytes of every tag character
constexpr std::size_t kTagBytes = 4;
constexpr std::size_t kMostTags = 8;

bool isBeyondAscii(std::string_view text, std::size_t at) {
    return at < text.size() && static_cast<unsigned char>(text[at]) >= 0x80;
}

// How many bytes from there on must stay as they are; 0 for none.
std::size_t shapedLength(std::string_view text, std::size_t at) {
    const std::string_view rest = text.substr(at);
    if (rest.starts_with(kNonJoiner) || rest.starts_with(kJoiner)) {
        const bool isInside = at > 0 && isBeyondAscii(text, at - 1) && isBeyondAscii(text, at + kJoiner.size());
        return isInside ? kJoiner.size() : 0;
    }
    if (!rest.starts_with(kFlag)) return 0;
    std::size_t end = kFlag.size();
    for (std::size_t tags = 0; tags < kMostTags && rest.substr(end).starts_with(kTagsBegin); ++tags) {
        const bool isLast = rest.substr(end).starts_with(kTagEnd);
        end += kTagBytes;
        if (isLast) return end;
    }
    return 0;
}

QString escaped(std::string_view text) {
    return QString::fromStdString(stringByEscapingControlCharacters(text));
}

QString verbatim(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

}  // namespace

QString displayText(std::string_view text) {
    QString shown;
    std::size_t begin = 0;
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t length = isBeyondAscii(text, i) ? shapedLength(text, i) : 0;
        if (length > 0) {
            shown += escaped(text.substr(begin, i - begin)) + verbatim(text.substr(i, length));
            begin = i + length;
        }
        i += length > 0 ? length : 1;
    }
    return shown + escaped(text.substr(begin));
}

QString toolTipText(std::string_view text) {
    return text.empty() ? QString() : "<p>" + displayText(text).toHtmlEscaped() + "</p>";
}

QString quotedName(std::string_view name) {
    constexpr std::size_t kLongest = 40;  // characters
    std::u32string characters = displayText(name).toStdU32String();
    if (characters.size() > kLongest) characters.replace(kLongest - 1, std::u32string::npos, U"\u2026");
    return '"' + QString::fromStdU32String(characters) + '"';
}

}  // namespace velmora
