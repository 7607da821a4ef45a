// The real host program with the real plugin and the virtual switch server, over discovery on `lo`.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include "platform/foundation/PropertyListXML.h"
#include "tests/host/Program.h"
#include "tests/plugin/Settings.h"
#include "tests/support/MainLoop.h"
#include "tests/support/PublishedService.h"
#include "tests/support/Sockets.h"

namespace velmora::test {

namespace {

struct Result {
    int code;
    QByteArray output;
    QByteArray errors;
};

Result resultOf(Program& program) {
    const int code = program.exitCode();
    return {code, QByteArray::fromStdString(program.output()), QByteArray::fromStdString(program.errors())};
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
    // Ends as no library writes it, so that a rewriting shows.
    QString writeSettings(const QString& server, const Outputs& outputs) const {
        const auto text = XMLWithPropertyList(settingsWith(server.toStdString(), outputs)).value_or("");
        return write("settings.plist", QByteArray::fromStdString(text) + "<!-- by hand -->");
    }

  private:
    QTemporaryDir folder_;
};

// With a switch server of 3 inputs and 2 outputs; output n carries input n at the start.
class HostWithServer : public HostProgram {
  protected:
    void SetUp() override { ASSERT_NE(server_.outputLineWith("announced as"), ""); }

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
    EXPECT_EQ(runHost({"--help"}).code, 0);
}

TEST_F(HostProgram, SettingsFileThatCannotBeUsedIsLeftAlone) {
    const std::vector<QByteArray> cases = {
        "",
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
    const QJsonObject json = QJsonDocument::fromJson(runHost({"--json", "settings"}).output).object();
    EXPECT_EQ(json.keys(), (QStringList{"availableDevices", "configuredOutputs", "selectedDeviceName"}));
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
    EXPECT_NE(watch.outputLineWith("Wilful\\nPlugin: 0 attributes"), "");
    EXPECT_TRUE(runMainLoopUntil([&] { return contentsOf(file).contains("Picked"); }));
}

TEST_F(HostWithServer, ListsServersAndAttributes) {
    const QString file = writeSettings(name_, {{"Monitor 1", 1, 2}, {"Monitor 0", 0, 0}});
    const QByteArray before = contentsOf(file);
    const Result servers = runHost({"--settings", file, "--json", "servers"});
    EXPECT_EQ(servers.code, 0) << servers.errors.constData();
    EXPECT_EQ(QJsonDocument::fromJson(servers.output).object(),
              (QJsonObject{{"servers", QJsonArray{name_}}, {"selected", name_}}));
    EXPECT_EQ(runHost({"servers"}).output, "  " + name_.toUtf8() + '\n') << "without settings any server will do";

    const Result json = runHost({"--settings", file, "--json", "attributes"});
    EXPECT_EQ(json.code, 0) << json.errors.constData();
    const char* const expected = R"({"plugin": "Velmora Switch", "version": "%1", "attributes": [
        {"name": "Velmora Switch Output 1", "displayName": "Monitor 0", "direction": "Output", "type": "MultipleValues",
         "default": "0001 Input 1", "current": "0001 Input 1",
         "possible": ["0001 Input 1", "0002 Input 2", "0003 Input 3"]},
        {"name": "Velmora Switch Output 2", "displayName": "Monitor 1", "direction": "Output", "type": "MultipleValues",
         "default": "0003 Input 3", "current": "0002 Input 2",
         "possible": ["0001 Input 1", "0002 Input 2", "0003 Input 3"]}]})";
    EXPECT_EQ(QJsonDocument::fromJson(json.output),
              QJsonDocument::fromJson(QString(expected).arg(PROJECT_VERSION).toUtf8()));

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
    const QString file = writeSettings(name_, {{"One", 0, 0}, {"Two", 1, 1}, {"Beyond", 8, 0}});
    const std::vector<std::tuple<QStringList, int, const char*, const char*>> cases = {
        {{"possible", "Velmora Switch Output 2"}, 0, "0001 Input 1\n0002 Input 2\n0003 Input 3\n", ""},
        {{"get", "Velmora Switch Output 2"}, 0, "0002 Input 2\n", ""},
        {{"set", "Velmora Switch Output 2", "0003 Input 3"}, 0, "0003 Input 3\n", ""},
        {{"get", "Velmora Switch Output 2"}, 0, "0003 Input 3\n", ""},
        {{"set", "Velmora Switch Output 2", "0004"}, 1, "", "Input 4 is out of range (Velmora Switch Plugin)"},
        {{"get", "Velmora Switch Output 9"}, 1, "", "Output 9 is out of range (Velmora Switch Plugin)"},
        {{"set", "Velmora Switch Output 9", "1"}, 1, "", "Output 9 is out of range"},
        {{"get", "Gain"}, 1, "", "no attribute \"Gain\"; it has: \"Velmora Switch Output 1\", "},
    };
    for (const auto& [command, code, output, errors] : cases) {
        const Result result = runHost(QStringList{"--settings", file} + command);
        SCOPED_TRACE(command.join(' ').toStdString() + ": " + result.errors.toStdString());
        EXPECT_EQ(result.code, code);
        EXPECT_EQ(result.output, output);
        EXPECT_TRUE(*errors == '\0' ? result.errors.isEmpty() : result.errors.contains(errors));
    }
}

TEST_F(HostWithServer, TakesNoSilenceForAnAnswer) {
    const QString name = name_ + " II";
    const std::vector<std::tuple<const char*, QStringList, const char*>> cases = {
        {"close-before@SET", {"set", "Velmora Switch Output 2", "1"}, "the connection has ended"},
        {"close-before@INPUTLABEL#5",
         {"possible", "Velmora Switch Output 2"},
         "before the server had named all inputs"},
    };
    for (const auto& [fault, command, words] : cases) {
        Program server(VELMORA_SWITCH_SERVER, {"--name", name, "--fault", fault});
        ASSERT_NE(server.outputLineWith("announced as"), "");
        const Result result = runHost(QStringList{"--settings", writeSettings(name, {{"Two", 1, 0}})} + command);
        EXPECT_EQ(result.code, 1) << fault;
        EXPECT_EQ(result.output, "") << fault;
        EXPECT_TRUE(result.errors.contains(words)) << result.errors.constData();
    }
}

TEST_F(HostWithServer, WatchesUntilInterrupted) {
    const QStringList arguments = {"--interface", "lo", "--settings", writeSettings(name_, {{"", 0, 0}, {"", 1, 1}}),
                                   "watch"};
    Program text(VELMORA_HOST, arguments);
    EXPECT_NE(text.outputLineWith("Velmora Switch: 2 attributes"), "");
    EXPECT_EQ(text.exitCodeAfterSignal(SIGINT), 0);

    Program json(VELMORA_HOST, arguments + QStringList{"--json"});
    const QJsonObject notice = QJsonDocument::fromJson(QByteArray::fromStdString(json.outputLine())).object();
    EXPECT_EQ(notice.value("plugin"), "Velmora Switch");
    EXPECT_EQ(notice.value("attributes"), (QJsonArray{"Velmora Switch Output 1", "Velmora Switch Output 2"}));
    EXPECT_EQ(json.exitCodeAfterSignal(SIGTERM), 0);
}

TEST_F(HostWithServer, TimesOutWithWhatWasMissing) {
    const QStringList arguments = {"--interface", "lo", "--settings", writeSettings("Elsewhere", {{"", 0, 0}}),
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

TEST_F(HostProgram, TimesOutOnAServerThatSaysNothing) {
    const ListeningPort port;
    const QString name = uniqueName("Silent");
    const PublishedService service(name.toStdString(), port.port());
    const Result silent =
        runHost({"--settings", writeSettings(name, {{"", 0, 0}}), "--wait", "6", "get", "Velmora Switch Output 1"});
    EXPECT_EQ(silent.code, 3);
    EXPECT_TRUE(silent.errors.contains("was found, but did not connect")) << silent.errors.constData();
}

}  // namespace velmora::test
