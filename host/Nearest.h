// What somebody who mistyped a word may have meant. Any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmora {

// The one of the words that is nearest to what was typed, if any is near: it begins so, or few characters are wrong,
// missing, too many or swapped with their neighbour.
std::optional<std::string_view> nearestWord(std::string_view typed, const std::vector<std::string_view>& words);

}  // namespace velmora
