#include "host/terminal/Json.h"

#include <QJsonArray>
#include <QJsonObject>
#include <cmath>

#include "host/Console.h"
#include "platform/foundation/JsonText.h"
#include "platform/foundation/QtText.h"

namespace velmora {

QJsonValue jsonValue(const std::optional<std::string>& text) {
    return text ? QJsonValue(qString(*text)) : QJsonValue();
}

QJsonValue jsonValue(const std::vector<std::string>& texts) {
    QJsonArray array;
    for (const std::string& text : texts) {
        array.append(qString(text));
    }
    return array;
}

QJsonValue jsonOfPropertyList(const PropertyList& value) {
    if (const auto dictionary = value.dictionary()) {
        QJsonObject object;
        for (const auto& [key, entry] : *dictionary) {
            object.insert(qString(key), jsonOfPropertyList(entry));
        }
        return object;
    }
    if (const auto list = value.array()) {
        QJsonArray array;
        for (const PropertyList& entry : *list) {
            array.append(jsonOfPropertyList(entry));
        }
        return array;
    }
    if (value.isInteger()) return static_cast<qint64>(value.integerValue());
    if (const auto boolean = value.boolean()) return *boolean;
    // JSON has no words for what is no number and for infinity; they are written as a property list does.
    if (const auto real = value.real()) {
        return std::isfinite(*real) ? QJsonValue(*real) : QJsonValue(QString::number(*real));
    }
    return jsonValue(value.text());
}

void printJson(const QJsonObject& document, QJsonDocument::JsonFormat format) {
    printText(jsonText(document, format).toStdString());
}

}  // namespace velmora
