// A table of texts in aligned columns, for a person at a terminal.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace velmora {

// The columns that a text takes on a terminal, as the C library knows them: none for a combining mark, two for a wide
// East Asian character or a pictograph.
std::size_t displayWidth(std::string_view text);

// One line for each row, without blanks at its end. As many cells in each row as in the first; control characters are
// made visible.
std::string textTable(std::vector<std::vector<std::string>> rows);

}  // namespace velmora
