// "Did you mean ...?" for command lines and the like.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace velmora {

// The known word that a typing mistake has most likely made into this one, the first of equals; none when no word is
// near. A beginning of a known word is near it; otherwise a third of the known word's letters may be wrong. Any thread.
std::optional<std::string> nearestWord(std::string_view typed, std::span<const std::string_view> known);

}  // namespace velmora
