// The real host program, run by a test, and a virtual switch server for it, over discovery on `lo`.
#pragma once

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include "platform/foundation/PropertyListXML.h"
#include "platform/foundation/Text.h"
#include "tests/host/Program.h"
#include "tests/plugin/Settings.h"

namespace velmora::test {

struct Result {
    int code;
    QByteArray output, errors;
};

inline Result resultOf(ChildProcess&& program) {
    const int code = program.exitCode();
    return {code, QByteArray::fromStdString(program.output()), QByteArray::fromStdString(program.errors())};
}

inline Result runHost(const QStringList& arguments) {
    return resultOf(Program(VELMORA_HOST, QStringList{"--interface", "lo"} + arguments));
}

// A JSON document is expected compact, however it is printed, and without its error, which says what the code and the
// first line of the errors say. Words of no errors: there are none.
inline void expect(const Result& result, int code, const QByteArray& output, const QByteArray& errors) {
    EXPECT_EQ(result.code, code);
    if (output.startsWith('{')) {
        QJsonObject json = QJsonDocument::fromJson(result.output).object();
        const QJsonObject error = json.take("error").toObject();
        EXPECT_EQ(error.value("code").toInt(), code);
        EXPECT_TRUE(result.errors.contains(error.value("message").toString().toUtf8()));
        EXPECT_EQ(QJsonDocument(json).toJson(QJsonDocument::Compact).toStdString(), output.toStdString());
    } else {
        EXPECT_EQ(result.output.toStdString(), output.toStdString());
    }
    EXPECT_TRUE(errors.isEmpty() ? result.errors.isEmpty() : result.errors.contains(errors))
        << result.errors.constData();
}

inline QByteArray contentsOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no such file)");
}

class HostProgram : public testing::Test {
  protected:
    QString path(const QString& name) const { return folder_.filePath(name); }
    QString write(const QString& name, const QByteArray& contents) const {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(contents) == contents.size());
        return file.fileName();
    }
    // Ends as no library writes it, so that a rewriting shows.
    QString writeSettings(const QString& server, const Outputs& outputs, const QString& name = "settings.plist") const {
        const std::string text = *XMLWithPropertyList(settingsWith(server.toStdString(), outputs));
        return write(name, QByteArray::fromStdString(text) + "<!-- by hand -->");
    }

  private:
    QTemporaryDir folder_;
};

// With a switch server of 3 inputs and 2 outputs; output n carries input n at the start.
class HostWithServer : public HostProgram {
  protected:
    void SetUp() override { ASSERT_NE(server_.outputLineWith("announced as"), ""); }

    const QString name_ = QString("Host Test %1").arg(QCoreApplication::applicationPid());
    Program server_{VELMORA_SWITCH_SERVER,
                    {"--name", name_, "--inputs", "3", "--outputs", "2", "--interface", "lo", "--verbose"}};
};

}  // namespace velmora::test
