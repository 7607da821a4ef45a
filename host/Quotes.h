// Names and paths in the program's messages.
#pragma once

#include <string>
#include <string_view>

namespace velmora {

// The text between quotation marks, otherwise as it is and in full: whoever shows the message makes it safe to show.
inline std::string inQuotes(std::string_view text) {
    return '"' + std::string(text) + '"';
}

}  // namespace velmora
