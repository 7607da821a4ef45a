// Results as JSON.
#pragma once

#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <optional>
#include <string>
#include <vector>

#include "platform/foundation/PropertyList.h"

namespace velmora {

// None becomes null.
QJsonValue jsonValue(const std::optional<std::string>& text);
QJsonValue jsonValue(const std::vector<std::string>& texts);
// Of a value that does not contain itself.
QJsonValue jsonOfPropertyList(const PropertyList& value);

// Prints the document: over several lines, or compact on one. What a terminal would obey stands in it as \uNNNN.
void printJson(const QJsonObject& document, QJsonDocument::JsonFormat format = QJsonDocument::Indented);

}  // namespace velmora
