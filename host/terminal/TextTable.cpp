#include "host/terminal/TextTable.h"

#include <clocale>
#include <cwchar>
#include <utility>

#include "platform/foundation/QtText.h"
#include "platform/foundation/Text.h"

namespace velmora {

namespace {

constexpr std::size_t kGap = 2;

}  // namespace

std::size_t displayWidth(std::string_view text) {
    // Not the user's locale, which need not be one of UTF-8. Null where the system does not have it: the thread keeps
    // its own, and what that does not know counts as one column.
    static const locale_t unicode = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    const locale_t earlier = uselocale(unicode);
    std::size_t width = 0;
    for (const char32_t character : qString(text).toStdU32String()) {
        const int columns = wcwidth(static_cast<wchar_t>(character));
        width += columns < 0 ? 1 : static_cast<std::size_t>(columns);
    }
    uselocale(earlier);
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
