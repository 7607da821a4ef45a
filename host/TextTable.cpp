#include "host/TextTable.h"

#include <QChar>
#include <QString>
#include <algorithm>
#include <array>
#include <utility>

#include "platform/foundation/Text.h"

namespace velmora {

namespace {

constexpr std::size_t kGap = 2;

// The blocks whose characters terminals draw two columns wide.
constexpr std::array<std::pair<char32_t, char32_t>, 10> kWide = {{
    {0x1100, 0x115F},
    {0x2E80, 0x303E},
    {0x3041, 0xA4CF},
    {0xAC00, 0xD7A3},
    {0xF900, 0xFAFF},
    {0xFE30, 0xFE6F},
    {0xFF00, 0xFF60},
    {0xFFE0, 0xFFE6},
    {0x1F300, 0x1FAFF},
    {0x20000, 0x3FFFD},
}};

std::size_t widthOfCharacter(char32_t character) {
    const QChar::Category category = QChar::category(character);
    if (category == QChar::Mark_NonSpacing || category == QChar::Mark_Enclosing || category == QChar::Other_Format)
        return 0;
    const bool wide = std::any_of(kWide.begin(), kWide.end(), [&](const auto& block) {
        return character >= block.first && character <= block.second;
    });
    return wide ? 2 : 1;
}

}  // namespace

std::size_t displayWidth(std::string_view text) {
    std::size_t width = 0;
    for (const char32_t character :
         QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())).toStdU32String()) {
        width += widthOfCharacter(character);
    }
    return width;
}

TextTable::TextTable(std::vector<std::string> titles) {
    rows_.push_back(std::move(titles));
}

void TextTable::addRow(std::vector<std::string> cells) {
    for (std::string& cell : cells) {
        cell = stringByEscapingControlCharacters(cell);
    }
    rows_.push_back(std::move(cells));
}

std::string TextTable::text() const {
    std::vector<std::size_t> widths(rows_.front().size(), 0);
    for (const auto& row : rows_) {
        for (std::size_t column = 0; column < row.size(); ++column) {
            widths[column] = std::max(widths[column], displayWidth(row[column]));
        }
    }
    std::string text;
    for (const auto& row : rows_) {
        std::string line;
        for (std::size_t column = 0; column < row.size(); ++column) {
            line += row[column] + std::string(widths[column] - displayWidth(row[column]) + kGap, ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + '\n';
    }
    return text;
}

}  // namespace velmora
