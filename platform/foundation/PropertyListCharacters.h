// The characters that a property list can hold as XML.
#pragma once

#include <QString>
#include <algorithm>
#include <string_view>

#include "platform/foundation/QtText.h"

namespace velmora {

// The text with U+FFFD in place of the characters that XML cannot hold, not even as a reference: control characters but
// for tab, line feed and carriage return, U+FFFE and U+FFFF. Bytes that are not UTF-8 become U+FFFD, too.
inline QString withCharactersOfXML(std::string_view text) {
    QString result = qString(text);
    const auto isMissing = [](QChar unit) {
        const char16_t code = unit.unicode();
        return (code < 0x20 && code != '\t' && code != '\n' && code != '\r') || code >= 0xFFFE;
    };
    std::replace_if(result.begin(), result.end(), isMissing, QChar(QChar::ReplacementCharacter));
    return result;
}

}  // namespace velmora
