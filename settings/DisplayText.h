// Texts from the network and the settings on their way to the screen.
#pragma once

#include <QString>
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

}  // namespace velmora
