#include "host/terminal/TextTable.h"

#include <algorithm>
#include <clocale>
#include <cwchar>

#include "platform/foundation/QtText.h"
#include "platform/foundation/Text.h"

namespace velmora {

namespace {

constexpr std::size_t kGap = 2;

}  // namespace

std::size_t displayWidth(std::string_view text) {
    // Not the user's locale, which need not be one of UTF-8. Null where the system does not have it: the thread keeps
    // its own locale, and a character that this does not know counts as one column.
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

std::string textTable(std::vector<std::vector<std::string>> rows) {
    std::vector<std::size_t> widths(rows.front().size(), 0);
    for (auto& row : rows) {
        for (std::size_t column = 0; column < row.size(); ++column) {
            row[column] = stringByEscapingControlCharacters(row[column]);
            widths[column] = std::max(widths[column], displayWidth(row[column]));
        }
    }
    std::string text;
    for (const auto& row : rows) {
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
