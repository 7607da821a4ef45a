// Texts from the network, the settings and the plugin on their way to the screen.
#pragma once

#include <QString>
#include <string>
#include <string_view>

namespace velmora {

// One line with its control characters made visible. Joiners that shape letters or emoji do so: they are between
// characters beyond ASCII, or part of a flag.
QString displayText(std::string_view text);

// The same for a tool tip, where Qt would take what looks like markup for markup.
QString toolTipText(std::string_view text);

// A name within a sentence: in quotation marks, and not longer than a line has room for.
QString quotedName(std::string_view name);

}  // namespace velmora
