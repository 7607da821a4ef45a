// The host program as its users see it: the real program and the real plugin, with the virtual switch server, over
// discovery on `lo`.
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <csignal>

#include "platform/foundation/PropertyListXML.h"
#include "tests/host/Program.h"
#include "tests/support/MainLoop.h"
#include "tests/support/PublishedService.h"

namespace velmora::test {

namespace {

struct Result {
    int code;
    QByteArray output;
    QByteArray errors;
};

Result resultOf(Program& program) {
    const int code = program.exitCode();
    return {code, program.output(), program.errors()};
}

Result runHost(const QStringList& arguments) {
    Program host(VELMORA_HOST, QStringList{"--interface", "lo"} + arguments);
    return resultOf(host);
}

QByteArray contentsOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no such file)");
}

QString uniqueName(const char* name) {
    return QString("%1 %2").arg(name).arg(QCoreApplication::applicationPid());
}

class HostProgram : public testing::Test {
  protected:
    QString path(const char* name) const { return folder_.filePath(name); }
    QString write(const char* name, const QByteArray& contents) const {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(contents) == contents.size());
        return file.fileName();
    }
    // Each output with its number, from 0, and the default input.
    QString writeSettings(const QString& server, const std::vector<std::pair<int, int>>& outputs) const {
        // Written as no library writes it, so that it shows when the host writes it anew.
        QByteArray text = "<plist version='1.0'><!-- by hand --><dict><key>selectedDeviceName</key><string>" +
                          server.toUtf8() + "</string><key>configuredOutputs</key><array>";
        for (const auto& [output, input] : outputs) {
            text += "<dict><key>label</key><string>Monitor " + QByteArray::number(output) +
                    "</string><key>outputNumber</key><integer>" + QByteArray::number(output) +
                    "</integer><key>defaultInputNumber</key><integer>" + QByteArray::number(input) +
                    "</integer></dict>";
        }
        return write("settings.plist", text + "</array></dict></plist>");
    }

  private:
    QTemporaryDir folder_;
};

// With a switch server of 3 inputs and 2 outputs; output n carries input n at the start.
class HostWithServer : public HostProgram {
  protected:
    void SetUp() override { ASSERT_TRUE(server_.outputComesToHold("announced as")) << server_.errors().constData(); }

    const QString name_ = uniqueName("Host Test");

  private:
    Program server_{VELMORA_SWITCH_SERVER, {"--name", name_, "--inputs", "3", "--outputs", "2", "--interface", "lo"}};
};

}  // namespace

TEST_F(HostProgram, WrongUsageSaysWhatToDoAndEndsWithTwo) {
    const std::vector<std::pair<QStringList, const char*>> cases = {
        {{}, "no command"},
        {{"fly"}, "no command \"fly\""},
        {{"servers", "--colour"}, "colour"},
        {{"get"}, "get NAME"},
        {{"set", "Velmora Switch Output 1"}, "set NAME VALUE"},
        {{"watch", "closely"}, "watch"},
        {{"servers", "--wait", "soon"}, "--wait"},
        {{"servers", "--wait=-1"}, "--wait"},
        {{"servers", "--interface", "nowhere0"}, "nowhere0"},
        {{"settings", "--bundle", path("no.bundle")}, "--bundle"},
    };
    for (const auto& [arguments, hint] : cases) {
        const Result result = runHost(arguments);
        SCOPED_TRACE(arguments.join(' ').toStdString() + ": " + result.errors.toStdString());
        EXPECT_EQ(result.code, 2);
        EXPECT_EQ(result.output, "");
        EXPECT_TRUE(result.errors.contains(hint));
    }
    const Result help = runHost({"--help"});
    EXPECT_EQ(help.code, 0);
    EXPECT_TRUE(help.output.contains("set NAME VALUE") && help.output.contains("configuredOutputs"));
}

TEST_F(HostProgram, SettingsFileThatCannotBeUsedIsLeftAlone) {
    const std::vector<QByteArray> cases = {
        "",
        "selectedDeviceName = Virtual Matrix",
        "<plist version='1.0'><dict><key>selectedDeviceName</key><string>Cut o",
        "<plist version='1.0'><array/></plist>",
        "<plist version='1.0'><dict><key>selectedDeviceName</key><true/></dict></plist>",
        "<plist version='1.0'><dict><key>configuredOutputs</key><dict/></dict></plist>",
        "<plist version='1.0'><dict><key>configuredOutputs</key><array><integer>1</integer></array></dict></plist>",
        "<plist version='1.0'><dict><key>configuredOutputs</key><array><dict/></array></dict></plist>",
    };
    for (const QByteArray& contents : cases) {
        const QString file = write("damaged.plist", contents);
        const Result result = runHost({"--bundle", WILFUL_BUNDLE, "--settings", file, "--wait", "0", "servers"});
        SCOPED_TRACE(contents.toStdString() + ": " + result.errors.toStdString());
        EXPECT_EQ(result.code, 2);
        EXPECT_TRUE(result.errors.contains("damaged.plist"));
        EXPECT_EQ(contentsOf(file), contents);
    }
    EXPECT_EQ(runHost({"--settings", path(""), "settings"}).code, 2) << "a folder is no settings file";
}

TEST_F(HostProgram, WithoutSavedSettings) {
    const Result result = runHost({"--settings", path("none.plist"), "settings"});
    EXPECT_EQ(result.code, 0) << result.errors.constData();
    const auto settings = propertyListWithXML(result.output.toStdString());
    ASSERT_TRUE(settings);
    EXPECT_EQ(textForKey(settings->dictionary(), "selectedDeviceName"), "");
    EXPECT_EQ(
        QJsonDocument::fromJson(runHost({"--json", "settings"}).output).object(),
        (QJsonObject{
            {"availableDevices", QJsonArray()}, {"configuredOutputs", QJsonArray()}, {"selectedDeviceName", ""}}));
    EXPECT_FALSE(QFile::exists(path("none.plist"))) << "nothing has changed that would have to be kept";

    const Result attributes = runHost({"attributes"});
    EXPECT_EQ(attributes.code, 0);
    EXPECT_TRUE(attributes.errors.contains("selectedDeviceName"));
    EXPECT_EQ(runHost({"get", "Velmora Switch Output 1"}).code, 1);
}

TEST_F(HostProgram, ChangedSettingsAreWrittenBackOnceAndThePluginIsReleasedInOrder) {
    const QString file = path("kept.plist");
    const QStringList arguments = {"--bundle", WILFUL_BUNDLE, "--settings", file, "--wait", "0", "servers"};
    const Result first = runHost(arguments);
    EXPECT_TRUE(first.errors.startsWith("started\n") && first.errors.endsWith("stopped\nreleased\n"))
        << first.errors.constData();
    const auto kept = propertyListWithContentsOfFile(file.toStdString());
    ASSERT_TRUE(kept);
    EXPECT_EQ(textForKey(kept->dictionary(), "selectedDeviceName"), "Picked");

    const QByteArray byHand =
        "<plist version='1.0'><dict><key>selectedDeviceName</key> <string>Picked</string></dict></plist>";
    write("kept.plist", byHand);
    runHost(arguments);
    EXPECT_EQ(contentsOf(file), byHand) << "the servers that are seen are no change";

    const Result lost =
        runHost({"--bundle", WILFUL_BUNDLE, "--settings", path("no/folder.plist"), "--wait", "0", "servers"});
    EXPECT_EQ(lost.code, 3) << "what the command said stands";
    EXPECT_TRUE(lost.errors.contains("folder.plist")) << lost.errors.constData();

    // Of a program that runs for long, the change is kept at once. What the plugin calls itself stays on one line.
    EXPECT_TRUE(QFile::remove(file));
    Program watch(VELMORA_HOST, {"--bundle", WILFUL_BUNDLE, "--settings", file, "watch"});
    EXPECT_TRUE(watch.outputComesToHold("Wilful\\nPlugin: 0 attributes\n"));
    EXPECT_TRUE(runMainLoopUntil([&] { return contentsOf(file).contains("Picked"); }));
}

TEST_F(HostWithServer, ListsServersAndAttributes) {
    const QString file = writeSettings(name_, {{1, 2}, {0, 0}});
    const QByteArray before = contentsOf(file);
    const Result servers = runHost({"--settings", file, "--json", "servers"});
    EXPECT_EQ(servers.code, 0) << servers.errors.constData();
    EXPECT_EQ(QJsonDocument::fromJson(servers.output).object(),
              (QJsonObject{{"servers", QJsonArray{name_}}, {"selected", name_}}));
    EXPECT_EQ(runHost({"servers"}).output, "  " + name_.toUtf8() + '\n') << "without settings any server will do";

    const QJsonArray possible = {"0001 Input 1", "0002 Input 2", "0003 Input 3"};
    const auto record = [&](const char* name, const char* display, const char* standard, const char* current) {
        return QJsonObject{
            {"name", name},        {"displayName", display}, {"direction", "Output"}, {"type", "MultipleValues"},
            {"default", standard}, {"current", current},     {"possible", possible}};
    };
    const Result json = runHost({"--settings", file, "--json", "attributes"});
    EXPECT_EQ(json.code, 0) << json.errors.constData();
    EXPECT_EQ(json.errors, "");
    EXPECT_EQ(
        QJsonDocument::fromJson(json.output).object(),
        (QJsonObject{{"plugin", "Velmora Switch"},
                     {"version", PROJECT_VERSION},
                     {"attributes",
                      QJsonArray{record("Velmora Switch Output 1", "Monitor 0", "0001 Input 1", "0001 Input 1"),
                                 record("Velmora Switch Output 2", "Monitor 1", "0003 Input 3", "0002 Input 2")}}}));

    const Result table = runHost({"--settings", file, "--defaults", "attributes"});
    EXPECT_EQ(table.output,
              "NAME                     DISPLAY NAME  DIRECTION  TYPE            DEFAULT       CURRENT       POSSIBLE\n"
              "Velmora Switch Output 1  Monitor 0     Output     MultipleValues  0001 Input 1  0001 Input 1  3\n"
              "Velmora Switch Output 2  Monitor 1     Output     MultipleValues  0003 Input 3  0003 Input 3  3\n")
        << "started with defaults, each output carries its default input";
    EXPECT_EQ(contentsOf(file), before);
}

TEST_F(HostWithServer, GetsSetsAndShowsTheReasonOfARefusal) {
    // The last one is an output that the switcher does not have.
    const QString file = writeSettings(name_, {{0, 0}, {1, 1}, {8, 0}});
    struct Case {
        QStringList command;
        int code;
        const char* output;
        const char* errors;
    };
    const std::vector<Case> cases = {
        {{"possible", "Velmora Switch Output 2"}, 0, "0001 Input 1\n0002 Input 2\n0003 Input 3\n", ""},
        {{"get", "Velmora Switch Output 2"}, 0, "0002 Input 2\n", ""},
        {{"set", "Velmora Switch Output 2", "0003 Input 3"}, 0, "0003 Input 3\n", ""},
        {{"get", "Velmora Switch Output 2"}, 0, "0003 Input 3\n", ""},
        {{"set", "Velmora Switch Output 2", "0004"}, 1, "", "Input 4 is out of range (Velmora Switch Plugin)"},
        {{"get", "Velmora Switch Output 9"}, 1, "", "Output 9 is out of range (Velmora Switch Plugin)"},
        {{"set", "Velmora Switch Output 9", "1"}, 0, "", "cannot be read back: Output 9 is out of range"},
        {{"get", "Gain"}, 1, "", "no attribute \"Gain\"; it has: \"Velmora Switch Output 1\", "},
    };
    for (const Case& expected : cases) {
        const Result result = runHost(QStringList{"--settings", file} + expected.command);
        SCOPED_TRACE(expected.command.join(' ').toStdString() + ": " + result.errors.toStdString());
        EXPECT_EQ(result.code, expected.code);
        EXPECT_EQ(result.output, expected.output);
        EXPECT_TRUE(result.errors.contains(expected.errors));
        if (*expected.errors == '\0') {
            EXPECT_EQ(result.errors, "");
        }
    }
}

TEST_F(HostWithServer, WatchesUntilInterrupted) {
    const QStringList arguments = {"--interface", "lo", "--settings", writeSettings(name_, {{0, 0}, {1, 1}}), "watch"};
    Program text(VELMORA_HOST, arguments);
    EXPECT_TRUE(text.outputComesToHold("Velmora Switch: 2 attributes\n"));
    text.signal(SIGINT);
    EXPECT_EQ(text.exitCode(), 0);

    Program json(VELMORA_HOST, arguments + QStringList{"--json"});
    EXPECT_TRUE(json.outputComesToHold("\n"));
    const QJsonObject notice = QJsonDocument::fromJson(json.output().left(json.output().indexOf('\n'))).object();
    EXPECT_EQ(notice.value("plugin"), "Velmora Switch");
    EXPECT_EQ(notice.value("attributes"), (QJsonArray{"Velmora Switch Output 1", "Velmora Switch Output 2"}));
    json.signal(SIGTERM);
    EXPECT_EQ(json.exitCode(), 0);
}

TEST_F(HostWithServer, TimesOutWithWhatWasMissing) {
    const QStringList arguments = {"--interface", "lo", "--settings", writeSettings("Elsewhere", {{0, 0}}),
                                   "--wait",      "8"};
    Program attributes(VELMORA_HOST, arguments + QStringList{"attributes"});
    Program servers(VELMORA_HOST, arguments + QStringList{"servers"});
    const Result absent = resultOf(attributes);
    EXPECT_EQ(absent.code, 3);
    EXPECT_EQ(absent.output, "");
    EXPECT_TRUE(absent.errors.contains("\"Elsewhere\" was not found within 8 s; found were: \"" + name_.toUtf8() + '"'))
        << absent.errors.constData();
    const Result list = resultOf(servers);
    EXPECT_EQ(list.code, 3);
    EXPECT_EQ(list.output, "  " + name_.toUtf8() + '\n') << "what there is, is shown all the same";
}

// Its connections are made by the kernel, and nobody answers.
TEST_F(HostProgram, TimesOutOnAServerThatSaysNothing) {
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), size), 0);
    ASSERT_EQ(listen(listener, 4), 0);
    ASSERT_EQ(getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size), 0);
    const QString name = uniqueName("Silent");
    const PublishedService service(name.toStdString(), ntohs(address.sin_port));

    const Result silent =
        runHost({"--settings", writeSettings(name, {{0, 0}}), "--wait", "6", "get", "Velmora Switch Output 1"});
    EXPECT_EQ(silent.code, 3);
    EXPECT_TRUE(silent.errors.contains("was found, but did not connect")) << silent.errors.constData();
    close(listener);
}

}  // namespace velmora::test
