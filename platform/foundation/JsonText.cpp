#include "platform/foundation/JsonText.h"

#include <QChar>
#include <string>

#include "platform/foundation/Text.h"

namespace velmora {

namespace {

// In the notation of JSON, which counts in units of UTF-16. A line end here always stands between values.
std::string jsonNotation(char32_t character) {
    if (character == '\n') return "\n";
    std::string escaped;
    for (const QChar unit : QChar::fromUcs4(character)) {
        escaped += "\\u" + hexadecimalDigits(unit.unicode(), 4);
    }
    return escaped;
}

}  // namespace

QJsonDocument jsonDocument(std::string_view text, QJsonParseError& failure) {
    auto json = QByteArray::fromRawData(text.data(), static_cast<qsizetype>(text.size()));
    const QByteArray dropped("\"\xEF\xBB\xBF");
    if (json.contains(dropped)) json.replace(dropped, "\"\\ufeff");
    return QJsonDocument::fromJson(json, &failure);
}

QByteArray jsonText(const QJsonObject& document, QJsonDocument::JsonFormat format) {
    const std::string text = QJsonDocument(document).toJson(format).toStdString();
    QByteArray safe = QByteArray::fromStdString(stringByReplacingControlCharacters(text, jsonNotation));
    if (!safe.endsWith('\n')) safe += '\n';
    return safe;
}

}  // namespace velmora
