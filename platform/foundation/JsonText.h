// JSON documents as text, for files, sockets and terminals alike.
#pragma once

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <string_view>

namespace velmora {

// Null, with the failure, when the text is not JSON. Unlike Qt's own reader, this keeps U+FEFF where a text in the
// document begins with it. Any thread.
QJsonDocument jsonDocument(std::string_view text, QJsonParseError& failure);

// The document over several lines, or compact on one; ends in a line feed. A character that a terminal would obey
// instead of showing it is written as \uNNNN. Any thread.
QByteArray jsonText(const QJsonObject& document, QJsonDocument::JsonFormat format);

}  // namespace velmora
