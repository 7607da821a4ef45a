// Texts from the network, the settings and the plugin on their way to the screen.
#pragma once

#include <QString>
#include <string>
#include <string_view>

#include "platform/foundation/Text.h"

namespace velmora {

// One line with its control characters made visible.
inline QString displayText(std::string_view text) {
    return QString::fromStdString(stringByEscapingControlCharacters(text));
}

// The same for a tool tip, where Qt would take what looks like markup for markup.
inline QString toolTipText(std::string_view text) {
    return text.empty() ? QString() : "<p>" + displayText(text).toHtmlEscaped() + "</p>";
}

// A name within a sentence: in quotation marks, and not longer than a line has room for.
inline QString quotedName(std::string_view name) {
    constexpr std::size_t kLongest = 40;  // characters
    std::u32string characters = displayText(name).toStdU32String();
    if (characters.size() > kLongest) characters.replace(kLongest - 1, std::u32string::npos, U"\u2026");
    return '"' + QString::fromStdU32String(characters) + '"';
}

}  // namespace velmora
