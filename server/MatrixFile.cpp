#include "server/MatrixFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <QByteArray>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <cerrno>
#include <system_error>
#include <utility>

#include "platform/foundation/Text.h"

namespace velmora {

namespace {

// No file of a matrix is as long as this, whatever its labels.
constexpr qint64 longestFile = 2 * VirtualMatrix::maximumSize * (VirtualMatrix::maximumLabelBytes + 16);

std::optional<std::string> readLabels(const QString& key, const QJsonValue& value, std::vector<std::string>& labels) {
    if (!value.isArray()) return stringWithFormat("\"%@\" is not a list of labels", key.toStdString());
    const QJsonArray list = value.toArray();
    for (const QJsonValue item : list) {
        if (!item.isString())
            return stringWithFormat("item %li of \"%@\" is not a text", labels.size() + 1, key.toStdString());
        labels.push_back(item.toString().toStdString());
    }
    return std::nullopt;
}

std::optional<std::string> readRoutes(const QJsonValue& value, std::vector<int>& routes) {
    if (!value.isArray()) return "\"routes\" is not a list of input numbers";
    const QJsonArray list = value.toArray();
    for (const QJsonValue item : list) {
        const int input = item.toInt(0);  // 0 for everything that is not a whole number
        if (input < 1)
            return stringWithFormat("item %li of \"routes\" is not the number of an input", routes.size() + 1);
        routes.push_back(input);
    }
    return std::nullopt;
}

// A file that was renamed is in its folder for good only when the folder is on the disk. A folder that may not be read,
// or whose file system knows no such thing, is left to the system.
std::optional<std::string> synchroniseFolderOf(const QString& path) {
    // The file may have been reached through a link.
    const std::string folder = QFileInfo(path).canonicalPath().toStdString();
    const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    int error = descriptor >= 0 && ::fsync(descriptor) == 0 ? 0 : errno;
    if (error == EACCES || error == EINVAL) error = 0;
    if (descriptor >= 0) ::close(descriptor);
    if (error == 0) return std::nullopt;
    return "its folder: " + std::system_category().message(error);
}

QJsonArray labelList(const std::vector<std::string>& labels) {
    QJsonArray list;
    for (const std::string& label : labels)
        list.append(QString::fromStdString(label));
    return list;
}

}  // namespace

std::optional<std::string> readMatrixFile(const std::string& path, MatrixContents& contents) {
    QFile file(QString::fromStdString(path));
    if (!file.open(QIODevice::ReadOnly)) return file.errorString().toStdString();
    const QByteArray bytes = file.read(longestFile);
    if (file.error() != QFileDevice::NoError) return file.errorString().toStdString();
    if (bytes.size() == longestFile) return "it is too long";

    QJsonParseError failure;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &failure);
    if (failure.error != QJsonParseError::NoError)
        return stringWithFormat("it is damaged at byte %i: %@", failure.offset, failure.errorString().toStdString());
    if (!document.isObject()) return "it is not a JSON object";

    MatrixContents read;
    const QJsonObject object = document.object();
    for (auto item = object.begin(); item != object.end(); ++item) {
        std::optional<std::string> reason;
        if (item.key() == u"inputs") {
            reason = readLabels(item.key(), item.value(), read.inputLabels);
        } else if (item.key() == u"outputs") {
            reason = readLabels(item.key(), item.value(), read.outputLabels);
        } else if (item.key() == u"routes") {
            reason = readRoutes(item.value(), read.routes);
        } else {
            reason = stringWithFormat("it holds \"%@\"; only \"inputs\", \"outputs\" and \"routes\" are known",
                                      item.key().toStdString());
        }
        if (reason) return reason;
    }
    contents = std::move(read);
    return std::nullopt;
}

std::optional<std::string> writeMatrixFile(const std::string& path, const MatrixContents& contents) {
    QJsonArray routes;
    for (const int input : contents.routes)
        routes.append(input);
    const QByteArray bytes = QJsonDocument(QJsonObject{{"inputs", labelList(contents.inputLabels)},
                                                       {"outputs", labelList(contents.outputLabels)},
                                                       {"routes", routes}})
                                 .toJson();
    // Written beside the file, synchronised to the disk and then renamed to it.
    QSaveFile file(QString::fromStdString(path));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        return file.errorString().toStdString();
    return synchroniseFolderOf(file.fileName());
}

}  // namespace velmora
