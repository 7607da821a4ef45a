// Names and paths in the program's messages.
#pragma once

#include <algorithm>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/Joined.h"

namespace velmora {

// The text between quotation marks, otherwise as it is and in full: whoever shows the message makes it safe to show.
inline std::string inQuotes(std::string_view text) {
    return '"' + std::string(text) + '"';
}

// The first few of the texts, each between quotation marks, and how many more there are: a message stays one that a
// person reads.
inline std::string firstInQuotes(const std::vector<std::string>& texts) {
    constexpr std::size_t kMost = 20;
    const std::size_t shown = std::min(texts.size(), kMost);
    const std::string list = joined(std::span(texts).first(shown), inQuotes);
    return shown == texts.size() ? list : list + " and " + std::to_string(texts.size() - shown) + " more";
}

// "1 label", "2 labels".
inline std::string counted(std::size_t count, std::string_view what) {
    return std::to_string(count) + ' ' + std::string(what) + (count == 1 ? "" : "s");
}

}  // namespace velmora
