// Several values in one run of the host program.
#include <QJsonArray>

#include "platform/threads/Moment.h"
#include "tests/host/HostFixture.h"

namespace velmora::test {

TEST_F(HostWithServer, setsWhatItKnowsToBeMeant) {
    const QString file = writeSettings(
        name_, {{"Programme", 0, 0}, {"A=B", 1, 0}, {"9", 2, 0}, {"Beyond", 8, 0}, {"Twice", 4, 0}, {"Twice", 5, 0}});
    const char* const both =
        "NAME                     DISPLAY NAME  CURRENT       RESULT\n"
        "Velmora Switch Output 2  A=B           0003 Input 3  done\n"
        "Velmora Switch Output 1  Programme     0002 Input 2  done\n";
    const std::vector<std::tuple<QStringList, int, const char*, const char*>> cases = {
        {{"set", "A=B = 3", " 1 = 0002 Two"}, 0, both, ""},
        {{"get", "A=B", "Programme"},
         0,
         "NAME                     DISPLAY NAME  CURRENT\n"
         "Velmora Switch Output 2  A=B           0003 Input 3\n"
         "Velmora Switch Output 1  Programme     0002 Input 2\n",
         ""},
        {{"set", "A=B", "3"}, 0, "0003 Input 3\n", ""},
        {{"set", "Programme=1"}, 0, "0001 Input 1\n", ""},
        {{"get", "9"},
         1,
         "",
         "\"9\" may mean each of the attributes \"Velmora Switch Output 3\", \"Velmora Switch Output 9\""},
        {{"set", "Twice", "3"}, 1, "", "may mean each"},
        // Nothing of these is sent.
        {{"set", "Programme=3", "2=00021"}, 1, "", "may read only the first four characters"},
        {{"set", "Programme=3", "Twice=1"}, 1, "", "may mean each"},
        {{"set", "Programme=3", "Gain=1", "--json"}, 1, "{}", "there is no attribute \"Gain\""},
        {{"get", "1", "2", "--json"},
         0,
         R"({"attributes":[{"answered":true,"current":"0001 Input 1","displayName":"Programme","input":1,)"
         R"("name":"Velmora Switch Output 1","output":1},{"answered":true,"current":"0003 Input 3",)"
         R"("displayName":"A=B","input":3,"name":"Velmora Switch Output 2","output":2}]})",
         ""},
        {{"set", "9=1"}, 1, "", "may mean each"},
        {{"set", "1=1", "2"}, 2, "", "there is no \"=\" in \"2\""},
        {{"set", "A=B=2", "1=9"}, 1, "", "it has no such value"},
        {{"set", "A=B=2", "2=1"}, 1, "", "it is to be set to \"2\", too"},
        {{"get", "A=B"}, 0, "0003 Input 3\n", ""},
        {{"set", "1", "9"}, 1, "", "Input 9 is out of range"},
        {{"set", "2=3", "A=B=3 Camera"},
         0,
         "NAME                     DISPLAY NAME  CURRENT       RESULT\n"
         "Velmora Switch Output 2  A=B           0003 Input 3  done\n"
         "Velmora Switch Output 2  A=B           0003 Input 3  done\n",
         "this value is called \"0003 Input 3\" now; the number counts"},
    };
    for (const auto& [command, code, output, errors] : cases) {
        SCOPED_TRACE(command.join(' ').toStdString());
        const Result result = runHost(QStringList{"--settings", file} + command);
        const QByteArray doubts = "has the same \"label\"";
        EXPECT_TRUE(result.errors.contains(doubts));
        expect(result, code, output, *errors == '\0' ? doubts : QByteArray(errors));
    }
}

TEST_F(HostWithServer, appliesWhatItDumps) {
    const QString file = writeSettings(name_, {{"Programme", 0, 0}, {"Preview", 1, 0}});
    const QString salvo = path("evening.salvo");
    const auto run = [&](const char* shell) {
        return resultOf(Program("/bin/sh", {"-c", shell, VELMORA_HOST, "--interface", "lo", "--settings", file}));
    };
    const Result dumped = runHost({"--settings", file, "dump"});
    const QByteArray steps = "Velmora Switch Output 1=0001 Input 1\nVelmora Switch Output 2=0002 Input 2\n";
    EXPECT_TRUE(dumped.output.startsWith("# " + name_.toUtf8() + ", ") && dumped.output.endsWith('\n' + steps))
        << dumped.output.constData();
    write("evening.salvo", dumped.output);
    QByteArray again;
    const QJsonObject json = QJsonDocument::fromJson(runHost({"--settings", file, "dump", "--json"}).output).object();
    for (const QJsonValue& step : json["steps"].toArray()) {
        again += (step["name"].toString() + '=' + step["value"].toString() + '\n').toUtf8();
    }
    EXPECT_EQ(json["server"].toString().toUtf8() + again, name_.toUtf8() + steps);

    EXPECT_EQ(runHost({"--settings", file, "set", "1", "3"}).code, 0);
    expect(runHost({"--settings", file, "apply", "--dry-run", salvo}), 0,
           "NAME                     DISPLAY NAME  CURRENT       NEW\n"
           "Velmora Switch Output 1  Programme     0003 Input 3  0001 Input 1\n"
           "Velmora Switch Output 2  Preview       0002 Input 2  unchanged\n",
           "");
    expect(runHost({"--settings", file, "get", "1"}), 0, "0003 Input 3\n", "");
    const char* const done =
        "NAME                     DISPLAY NAME  CURRENT       RESULT\n"
        "Velmora Switch Output 1  Programme     0001 Input 1  done\n"
        "Velmora Switch Output 2  Preview       0002 Input 2  done\n";
    expect(run(R"("$0" "$@" dump | sed s/=0003.*/=1/ | "$0" "$@" apply -)"), 0, done, "");
    expect(runHost({"--settings", file, "apply", write("bad", "Preview=1\n\nPreview=\x01")}), 2, "", "line 3: ");
    expect(runHost({"--settings", file, "apply", write("bad", "#\nPreview=1\nGain=1")}), 1, "", "line 3: there is no");
    expect(runHost({"--settings", file, "apply", write("bad", "# full disk\n")}), 2, "", "holds no values");

    server_.sendSignal();
    std::string sent = server_.output();
    std::size_t sets = 0;
    for (std::size_t at = sent.find("SET "); at != std::string::npos; at = sent.find("SET ", at + 1)) {
        ++sets;
    }
    EXPECT_EQ(sets, 3U) << sent;
}

// Of a thousand configured outputs the plugin is given those that are named: it asks for each one's 1,152 labels.
TEST_F(HostProgram, namedOutputsAreReadAsIfTheyWereAll) {
    const QString name = QString("Large %1").arg(QCoreApplication::applicationPid());
    Program server(VELMORA_SWITCH_SERVER,
                   {"--name", name, "--inputs", "1152", "--outputs", "1000", "--interface", "lo"});
    ASSERT_NE(server.outputLineWith("announced as"), "");
    Outputs outputs;
    QByteArray salvo;
    for (int output = 0; output < 1000; ++output) {
        outputs.push_back({"Output " + std::to_string(output), output, 0});
        if (output < 32) salvo += "Output " + QByteArray::number(output) + "=77\n";
    }
    const QString file = writeSettings(name, outputs);
    const QByteArray before = contentsOf(file);
    const Date start = Date::clock::now();
    expect(runHost({"--settings", file, "get", "Velmora Switch Output 1000"}), 0, "1000 Input 1000\n", "");
    expect(runHost({"--settings", file, "get", "1001"}), 1, "", "\"1001\"; the settings configure");
    EXPECT_EQ(runHost({"--settings", file, "servers"}).code, 0);
    EXPECT_EQ(runHost({"--settings", file, "status"}).code, 0);
    const Result applied = runHost({"--settings", file, "apply", write("32.salvo", salvo)});
    EXPECT_EQ(applied.code, 0);
    EXPECT_EQ(applied.output.count("  0077 Input 77  done\n"), 32);
    // Alone, the whole list takes longer for one of these.
    EXPECT_LT(Date::clock::now() - start, std::chrono::seconds(40));
    EXPECT_EQ(contentsOf(file), before);

    // This plugin changes its settings at every start; of a part, nothing of it is kept.
    expect(runHost({"--bundle", WILFUL_BUNDLE, "--settings", file, "--wait", "0", "servers"}), 3, "", "was not found");
    EXPECT_EQ(contentsOf(file), before);
    runHost({"--bundle", WILFUL_BUNDLE, "--settings", file, "--wait", "0", "attributes"});
    EXPECT_NE(contentsOf(file), before);
    EXPECT_EQ(contentsOf(file).count("<key>outputNumber</key>"), 1000);
}

}  // namespace velmora::test
