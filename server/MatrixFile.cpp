#include "server/MatrixFile.h"

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "platform/foundation/FileContents.h"
#include "platform/foundation/JsonText.h"
#include "platform/foundation/QtText.h"
#include "platform/foundation/Text.h"

namespace velmora {

namespace {

// No file of a matrix is longer than this, whatever its labels: two lists of labels, each character of them written as
// \uNNNN, which takes three times its bytes at most, and one of routes, each item on a line of its own.
constexpr std::size_t kLongestLine = 16;  // without a label
constexpr std::size_t kLongestLabelLine = 3 * VirtualMatrix::kMaximumLabelBytes + kLongestLine;
constexpr std::size_t kLongestFile = VirtualMatrix::kMaximumSize * (2 * kLongestLabelLine + kLongestLine);

Result<void> readLabels(const QString& key, const QJsonValue& value, std::vector<std::string>& labels) {
    if (!value.isArray()) return Failure{stringWithFormat("\"%@\" is not a list of labels", key.toStdString())};
    const QJsonArray list = value.toArray();
    for (const QJsonValue item : list) {
        if (!item.isString()) {
            return Failure{stringWithFormat("item %li of \"%@\" is not a text", labels.size() + 1, key.toStdString())};
        }
        labels.push_back(item.toString().toStdString());
    }
    return {};
}

Result<void> readRoutes(const QJsonValue& value, std::vector<int>& routes) {
    if (!value.isArray()) return Failure{"\"routes\" is not a list of input numbers"};
    const QJsonArray list = value.toArray();
    for (const QJsonValue item : list) {
        const int input = item.toInt(0);  // 0 for everything that is not a whole number
        if (input < 1) {
            return Failure{stringWithFormat("item %li of \"routes\" is not the number of an input", routes.size() + 1)};
        }
        routes.push_back(input);
    }
    return {};
}

Result<void> readItem(const QString& key, const QJsonValue& value, MatrixContents& contents) {
    if (key == u"inputs") return readLabels(key, value, contents.inputLabels);
    if (key == u"outputs") return readLabels(key, value, contents.outputLabels);
    if (key == u"routes") return readRoutes(value, contents.routes);
    return Failure{
        stringWithFormat("it holds \"%@\"; only \"inputs\", \"outputs\" and \"routes\" are known", key.toStdString())};
}

QJsonArray labelList(const std::vector<std::string>& labels) {
    QJsonArray list;
    for (const std::string& label : labels) {
        list.append(qString(label));
    }
    return list;
}

}  // namespace

Result<MatrixContents> readMatrixFile(const std::string& path) {
    const Result<std::string> file = readFile(path, kLongestFile);
    if (!file) return file.failure();

    QJsonParseError failure;
    const QJsonDocument document = jsonDocument(*file, failure);
    if (failure.error != QJsonParseError::NoError) {
        return Failure{
            stringWithFormat("it is damaged at byte %i: %@", failure.offset, failure.errorString().toStdString())};
    }
    if (!document.isObject()) return Failure{"it is not a JSON object"};

    MatrixContents read;
    const QJsonObject object = document.object();
    for (auto item = object.begin(); item != object.end(); ++item) {
        if (const auto known = readItem(item.key(), item.value(), read); !known) return known.failure();
    }
    return read;
}

Result<void> writeMatrixFile(const std::string& path, const MatrixContents& contents) {
    QJsonArray routes;
    for (const int input : contents.routes) {
        routes.append(input);
    }
    const QByteArray bytes = jsonText({{"inputs", labelList(contents.inputLabels)},
                                       {"outputs", labelList(contents.outputLabels)},
                                       {"routes", routes}},
                                      QJsonDocument::Indented);
    return replaceFile(path, {bytes.constData(), static_cast<std::size_t>(bytes.size())});
}

}  // namespace velmora
