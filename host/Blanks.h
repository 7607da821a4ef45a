// Characters of a name or a value that a person does not see. Any thread.
#pragma once

#include <algorithm>
#include <string_view>

namespace velmora {

// Without the blanks and tabs at its ends, which a person may have typed without meaning anything by them.
constexpr std::string_view withoutOuterBlanks(std::string_view text) {
    constexpr std::string_view kBlanks = " \t";
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

// Whether there is nothing in it to see.
constexpr bool isBlank(std::string_view text) {
    return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

// Those that move a terminal's cursor or end a line. Marks of direction and joiners belong to names.
constexpr bool hasControlCharacter(std::string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const bool isSecondSet = byte == 0xC2 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) < 0xA0;
        if (byte < 0x20 || byte == 0x7F || isSecondSet) return true;
    }
    return false;
}

}  // namespace velmora
