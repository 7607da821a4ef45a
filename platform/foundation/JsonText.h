// JSON documents as text, for files, sockets and terminals alike.
#pragma once

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace velmora {

// The document over several lines, or compact on one; ends in a line feed. A character that a terminal would obey
// instead of showing it is written as \uNNNN. Any thread.
QByteArray jsonText(const QJsonObject& document, QJsonDocument::JsonFormat format);

}  // namespace velmora
