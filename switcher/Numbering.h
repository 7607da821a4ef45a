// How inputs and outputs are counted, and the texts under which hosts and persons see them.
#pragma once

#include <concepts>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

#include "platform/foundation/Text.h"

namespace velmora {

// An index counts from 0: inside the system and in the settings. A number counts from 1: on the wire, in names and in
// texts. Both steps wrap around, so that no value leads to undefined behaviour.
template <std::signed_integral Integer>
constexpr Integer numberOf(Integer index) {
    return static_cast<Integer>(static_cast<std::make_unsigned_t<Integer>>(index) + 1U);
}
template <std::signed_integral Integer>
constexpr Integer indexOf(Integer number) {
    return static_cast<Integer>(static_cast<std::make_unsigned_t<Integer>>(number) - 1U);
}

// "0003" for the index 2. Only the first four characters of a text are ever read back.
inline std::string numberText(std::int64_t index) {
    return stringWithFormat("%04li", numberOf(index));
}
// "0003 Camera 3"; a missing label reads "(null)".
inline std::string labelledText(std::int64_t index, const std::optional<std::string>& label) {
    return stringWithFormat("%04li %@", numberOf(index), label);
}
// "0003 Input 3", for which nobody is asked.
inline std::string inputText(std::int64_t index) {
    return stringWithFormat("%04li Input %li", numberOf(index), numberOf(index));
}
// 3 for any of these. 0 where the first four characters begin with no number.
inline std::int64_t numberInText(std::string_view text) {
    return integerValue(text.substr(0, 4));
}

}  // namespace velmora
