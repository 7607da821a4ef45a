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

class TextTable {
  public:
    explicit TextTable(std::vector<std::string> titles);
    // As many cells as there are titles. Control characters are made visible.
    void addRow(std::vector<std::string> cells);
    // One line for the titles and one for each row, without blanks at their ends.
    std::string text() const;

  private:
    std::vector<std::vector<std::string>> rows_;
};

}  // namespace velmora
