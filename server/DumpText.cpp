#include "server/DumpText.h"

#include <QJsonArray>
#include <string>
#include <utility>

#include "platform/foundation/JsonText.h"
#include "platform/foundation/QtText.h"

namespace velmora {

namespace {

QJsonValue jsonOf(const std::string& label) {
    return qString(label);
}
QJsonValue jsonOf(int input) {
    return input;
}
std::size_t sizeOf(const std::string& label) {
    return label.size() + 1;
}
std::size_t sizeOf(int) {
    return sizeof(int);
}

// Without the brackets.
QByteArray textOf(const QJsonArray& list) {
    const QByteArray line = jsonText({{"", list}}, QJsonDocument::Compact);
    constexpr qsizetype before = 5;  // {"":[
    constexpr qsizetype after = 3;   // ]} and a line feed
    return line.mid(before, line.size() - before - after);
}

}  // namespace

QByteArray DumpText::nextPiece() {
    switch (list_) {
        case 0:
            return piece("\"inputs\":[", contents_.inputLabels);
        case 1:
            return piece("\"outputs\":[", contents_.outputLabels);
        case 2:
            return piece("\"routes\":[", contents_.routes);
        default:
            return std::exchange(frame_, {});
    }
}

// No text in the frame looks like this, because quotation marks in texts are escaped.
QByteArray DumpText::frameUpTo(const QByteArray& opening) {
    const qsizetype end = frame_.indexOf(opening + ']') + opening.size();
    const QByteArray before = frame_.left(end);
    frame_.remove(0, end);
    return before;
}

template <typename Value>
QByteArray DumpText::piece(const char* opening, const std::vector<Value>& list) {
    QByteArray text = position_ == 0 ? frameUpTo(opening) : ",";
    QJsonArray items;
    for (std::size_t size = 0; position_ < list.size() && size < kPiece; ++position_) {
        items.append(jsonOf(list[position_]));
        size += sizeOf(list[position_]);
    }
    if (position_ == list.size()) {
        ++list_;
        position_ = 0;
    }
    return text += textOf(items);
}

}  // namespace velmora
