// What the real host program makes of a server's answers, and of none, over discovery on `lo`.
#include <QJsonArray>
#include <deque>

#include "tests/host/HostFixture.h"
#include "tests/support/PublishedService.h"
#include "tests/support/Sockets.h"

namespace velmora::test {

TEST_F(HostWithServer, listsServersAndAttributes) {
    const QString file = writeSettings(name_, {{"Monitor 1", 1, 2}, {"Monitor 0", 0, 0}});
    const QByteArray before = contentsOf(file);
    expect(runHost({"--settings", file, "--json", "servers"}), 0,
           QString(R"({"selected":"%1","servers":["%1"]})").arg(name_).toUtf8(), "");
    EXPECT_EQ(runHost({"servers"}).output, "  " + name_.toUtf8() + '\n') << "without settings any server will do";

    const char* const expected = R"({"plugin": "Velmora Switch", "version": "%1", "attributes": [
        {"name": "Velmora Switch Output 1", "displayName": "Monitor 0", "direction": "Output", "type": "MultipleValues",
         "default": "0001 Input 1", "current": "0001 Input 1", "answered": true, "input": 1, "output": 1,
         "possible": ["0001 Input 1", "0002 Input 2", "0003 Input 3"]},
        {"name": "Velmora Switch Output 2", "displayName": "Monitor 1", "direction": "Output", "type": "MultipleValues",
         "default": "0003 Input 3", "current": "0002 Input 2", "answered": true, "input": 2, "output": 2,
         "possible": ["0001 Input 1", "0002 Input 2", "0003 Input 3"]}]})";
    expect(runHost({"--settings", file, "--json", "attributes"}), 0,
           QJsonDocument::fromJson(QString(expected).arg(PROJECT_VERSION).toUtf8()).toJson(QJsonDocument::Compact), "");

    // Started with defaults, each output carries its default input.
    expect(runHost({"--settings", file, "--defaults", "attributes"}), 0,
           "NAME                     DISPLAY NAME  DIRECTION  TYPE            DEFAULT       CURRENT       POSSIBLE\n"
           "Velmora Switch Output 1  Monitor 0     Output     MultipleValues  0001 Input 1  0001 Input 1  3\n"
           "Velmora Switch Output 2  Monitor 1     Output     MultipleValues  0003 Input 3  0003 Input 3  3\n",
           "over the operator's routes");
    EXPECT_EQ(contentsOf(file), before);
}

TEST_F(HostWithServer, getsSetsAndShowsTheReasonOfARefusal) {
    // The last one is an output that the switcher does not have.
    const QString file = writeSettings(name_, {{"One", 0, 0}, {"Two", 1, 1}, {"Beyond", 8, 0}});
    const QString two = "Velmora Switch Output 2";
    const QString nine = "Velmora Switch Output 9";
    // The plugin does not tell whether each label was answered.
    const char* const json =
        R"({"name":"Velmora Switch Output 2","possible":["0001 Input 1","0002 Input 2","0003 Input 3"]})";
    const std::vector<std::tuple<QStringList, int, const char*, const char*>> cases = {
        {{"possible", two}, 0, "0001 Input 1\n0002 Input 2\n0003 Input 3\n", ""},
        {{"get", two}, 0, "0002 Input 2\n", ""},
        {{"set", two, "0003 Input 3"}, 0, "0003 Input 3\n", ""},
        {{"set", two, "0004"}, 1, "", "Input 4 is out of range;"},
        {{"get", nine}, 1, "", "Output 9 is out of range\n"},
        {{"set", two, "2"}, 0, "0002 Input 2\n", ""},
        {{"get", nine, "--json"},
         1,
         R"({"answered":false,"current":null,"displayName":"Beyond","name":"Velmora Switch Output 9","output":9})",
         "out of"},
        {{"set", two, "00012", "--json"},
         1,
         R"({"answered":false,"current":null,"displayName":"Two","name":"Velmora Switch Output 2","output":2,"value":"00012"})",
         "did not set"},
        {{"possible", "Gain", "--json"}, 1, R"({"answered":false,"name":"Gain","possible":null})", "no attribute"},
        {{"possible", two, "--json"}, 0, json, ""},
        {{"get", "Gain"}, 1, "", "no attribute \"Gain\"; the settings configure the outputs: 1 (\"One\"), 2 ("},
    };
    for (const auto& [command, code, output, errors] : cases) {
        SCOPED_TRACE(command.join(' ').toStdString());
        expect(runHost(QStringList{"--settings", file} + command), code, output, errors);
    }
}

TEST_F(HostWithServer, takesForAnAnswerOnlyWhatIsOne) {
    const QStringList get = {"get", "Velmora Switch Output 2"};
    const QStringList set = {"set", "Velmora Switch Output 2", "1"};
    const std::vector<std::tuple<const char*, QStringList, int, const char*>> cases = {
        {"close-before@SET", set, 1, "The server ended the connection"},
        {"close-during@GET#3", {"--defaults", "get", "Velmora Switch Output 2"}, 1, "may be a part of one"},
        {"wrong@GET", get, 1, "names no output and input"},
        {"wrong@GET", {"attributes"}, 1, "names no output and input"},
        {"empty@GET", set, 1, "is empty"},
        {"silence@GET#3", get, 3, "waiting for the device's answer for \"Velmora Switch Output 2\""},
        {"silence@SET", set, 3, "it is not known whether the device has it"},
        {"silence@GET", {"--wait", "4", "get", "2"}, 3, "asked which input is on output 2 (\"GET 2\"), it did not"},
        {"mute", {"--wait", "4", "get", "2"}, 3, "still busy with the switch server after 4 s (--wait)"},
        {"close-before@INPUTLABEL#5", {"possible", "Velmora Switch Output 2"}, 1, "before all values were named"},
    };
    // All at once: each waits for a time of its own.
    std::deque<Program> servers;
    std::deque<Program> hosts;
    for (const auto& [fault, command, code, words] : cases) {
        const QString name = name_ + ' ' + fault;
        servers.emplace_back(VELMORA_SWITCH_SERVER, QStringList{"--name", name, "--inputs", "1300", "--fault", fault});
        ASSERT_NE(servers.back().outputLineWith("announced as"), "");
        // Half of the reply "2 1234" is one, too.
        const QString file = writeSettings(name, {{"Two", 1, 1233}}, QString("%1.plist").arg(hosts.size()));
        hosts.emplace_back(VELMORA_HOST, QStringList{"--interface", "lo", "--json", "--settings", file} + command);
    }
    for (const auto& [fault, command, code, words] : cases) {
        const Result result = resultOf(std::move(hosts.front()));
        hosts.pop_front();
        SCOPED_TRACE(fault + result.errors.toStdString() + result.output.toStdString());
        EXPECT_EQ(result.code, code);
        EXPECT_TRUE(result.errors.contains(words));
        QJsonObject json = QJsonDocument::fromJson(result.output).object();
        if (json.contains("attributes")) json = json.value("attributes").toArray().first().toObject();
        EXPECT_EQ(json.value("answered"), false);
        EXPECT_TRUE(json.value(command.first() == "possible" ? "possible" : "current").isNull());
    }
}

TEST_F(HostWithServer, timesOutWithWhatWasMissing) {
    const QStringList arguments = {"--interface", "lo", "--settings", writeSettings("Elsewhere", {{"One", 0, 0}}),
                                   "--wait",      "8"};
    Program attributes(VELMORA_HOST, arguments + QStringList{"attributes"});
    Program servers(VELMORA_HOST, arguments + QStringList{"servers"});
    const ListeningPort port;
    const PublishedService published("Silent " + name_.toStdString(), port.port());
    Program silent(VELMORA_HOST,
                   {"--interface", "lo", "--settings",
                    writeSettings("Silent " + name_, {{"One", 0, 0}}, "silent.plist"), "--wait", "6", "attributes"});
    const QByteArray name = name_.toUtf8();
    expect(resultOf(std::move(attributes)), 3, "", "\"Elsewhere\" was not found within 8 s; found were: \"");
    // What there is, is shown all the same.
    const Result listed = resultOf(std::move(servers));
    expect(listed, 3, listed.output, "was not found");
    EXPECT_TRUE(listed.output.contains("  " + name + '\n'));
    expect(resultOf(std::move(silent)), 3, "", "was found, but when it was asked whether it is there");
}

}  // namespace velmora::test
