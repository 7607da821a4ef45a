// Text on its way to Qt.
#pragma once

#include <QString>
#include <string_view>

namespace velmora {

// The same text, U+FEFF at its beginning included, which Qt's own conversion takes for a mark of the encoding and
// drops. Bytes that are not UTF-8 become U+FFFD.
inline QString qString(std::string_view text) {
    QString result = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
    if (text.starts_with("\xEF\xBB\xBF")) result.prepend(QChar(QChar::ByteOrderMark));
    return result;
}

}  // namespace velmora
