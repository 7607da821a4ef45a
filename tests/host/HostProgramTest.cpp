// The real host program with the real plugin and the virtual switch server, over discovery on `lo`.
#include <QJsonArray>

#include "host/CommandTable.h"
#include "platform/foundation/PropertyListXML.h"
#include "platform/foundation/QtText.h"
#include "tests/host/HostFixture.h"
#include "tests/support/MainLoop.h"
#include "tests/support/PublishedService.h"
#include "tests/support/Sockets.h"

namespace velmora::test {

TEST_F(HostProgram, wrongUsageSaysWhatToDoAndEndsWithTwo) {
    const std::vector<std::pair<QStringList, const char*>> cases = {
        {{}, "no command"},
        {{"fly"}, "no command \"fly\"; the commands are: "},
        {{"sevres"}, "no command \"sevres\"; did you mean \"servers\"? "},
        {{"help", "attr"}, "did you mean \"attributes\"?"},
        {{"servers", "--colour"}, "no option \"--colour\"; \""},
        {{"servers", "--intreface=lo"}, "no option \"--intreface\"; did you mean \"--interface\"?"},
        {{"get", "1", "-json"}, "no option \"-json\"; did you mean \"--json\"?"},
        {{"servers", "--json=yes"}, "--json takes no value"},
        {{"servers", "--wait"}, "--wait needs a value: --wait SECONDS"},
        {{"settings", "--defaults"}, "\"settings\" does not take --defaults, which is an option of \"servers\", "},
        {{"get"}, "\"get\" takes either names or --all"},
        {{"set", "Velmora Switch Output 1"}, "set NAME VALUE"},
        {{"set", "1=2", "3", "4=5"}, "no \"=\" in \"3\""},
        {{"apply", path("no.salvo")}, "the salvo"},
        {{"watch", "--poll", "0.01"}, "--poll takes a number of seconds from 0.1 to"},
        {{"watch", "closely"}, "watch"},
        {{"servers", "--wait", "soon"}, "--wait"},
        {{"servers", "--wait=-1"}, "--wait"},
        {{"servers", "--interface", "nowhere0"}, "nowhere0"},
        {{"settings", "--bundle", path("no.bundle")}, "--bundle"},
        {{"settings", "--bundle", ""}, "--bundle"},
        {{"settings", "--settings", ""}, "--settings"},
    };
    for (const auto& [arguments, hint] : cases) {
        SCOPED_TRACE(arguments.join(' ').toStdString());
        expect(runHost(arguments), 2, "", hint);
    }
    expect(resultOf(ChildProcess({VELMORA_HOST, "get", "\xFF"})), 2, "",
           "not UTF-8: \"\\xFF\"; \"velmora-host --help\" explains commands and options\n");
}

// Each of the table's commands and options, on a terminal of a hundred columns.
TEST_F(HostProgram, tellsOfEachCommandInTheHelp) {
    const QString overview = runHost({"--help"}).output;
    for (const OptionRow* const option : optionTable()) {
        EXPECT_TRUE(overview.contains("\n  --" + qString(option->name))) << option->name;
    }
    for (const CommandRow& command : commandTable()) {
        const QString form = qString(formOf(command));
        EXPECT_TRUE(overview.contains("\n  " + form + "  ") || overview.contains("\n  " + form + '\n')) << command.word;
        const Result help = runHost({"help", qString(command.word)});
        expect(runHost({qString(command.word), "--help"}), 0, help.output, "");
        EXPECT_TRUE(help.output.contains(("] " + form + '\n').toUtf8()) || command.options.empty())
            << form.toStdString();
        for (const QString& line : (overview + help.output).split('\n')) {
            EXPECT_LE(line.size(), 100) << line.toStdString();
        }
    }
}

TEST_F(HostProgram, settingsFileThatCannotBeUsedIsLeftAlone) {
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
        SCOPED_TRACE(contents.toStdString());
        expect(runHost({"--bundle", WILFUL_BUNDLE, "--settings", file, "--wait", "0", "servers"}), 2, "",
               "damaged.plist");
        EXPECT_EQ(contentsOf(file), contents);
    }
    EXPECT_EQ(runHost({"--settings", path(""), "settings"}).code, 2) << "a folder is no settings file";
}

TEST_F(HostProgram, withoutSavedSettings) {
    EXPECT_TRUE(propertyListWithXML(runHost({"settings"}).output.toStdString()));
    expect(runHost({"--settings", path("none.plist"), "--json", "settings"}), 0,
           R"({"availableDevices":[],"configuredOutputs":[],"selectedDeviceName":""})", "there is no settings file");
    EXPECT_FALSE(QFile::exists(path("none.plist"))) << "nothing has changed that would have to be kept";
    const Result attributes = runHost({"attributes"});
    expect(attributes, 0, attributes.output, "selectedDeviceName");
    EXPECT_EQ(runHost({"get", "Velmora Switch Output 1"}).code, 1);
}

TEST_F(HostProgram, changedSettingsAreWrittenBackOnceAndThePluginIsReleasedInOrder) {
    const QString file = path("kept.plist");
    const QStringList arguments = {"--bundle", WILFUL_BUNDLE, "--settings", file, "--wait", "0", "servers"};
    const Result first = runHost(arguments);
    expect(first, 3, first.output, "there is no settings file \"" + file.toUtf8() + '"');
    EXPECT_TRUE(first.errors.contains("\nstarted\n") && first.errors.endsWith("stopped\nreleased\n"));
    const auto kept = propertyListWithContentsOfFile(file.toStdString());
    ASSERT_TRUE(kept);
    EXPECT_EQ(textForKey(kept->dictionary(), "selectedDeviceName"), "Picked");

    const QByteArray byHand =
        "<plist version='1.0'><dict><key>selectedDeviceName</key> <string>Picked</string></dict></plist>";
    write("kept.plist", byHand);
    runHost(arguments);
    EXPECT_EQ(contentsOf(file), byHand) << "the servers that are seen are no change";

    write("kept.plist", "<plist version='1.0'><dict><key>Remark</key><string>Not yours</string></dict></plist>");
    runHost(arguments);
    EXPECT_EQ(textForKey(propertyListWithContentsOfFile(file.toStdString())->dictionary(), "Remark"), "Not yours");

    // What the command said stands.
    expect(runHost({"--bundle", WILFUL_BUNDLE, "--settings", path("no/folder.plist"), "--wait", "0", "servers"}), 3, "",
           "folder.plist");

    // Of a program that runs for long, the change is kept at once. What the plugin calls itself stays on one line.
    EXPECT_TRUE(QFile::remove(file));
    Program watch(VELMORA_HOST, {"--bundle", WILFUL_BUNDLE, "--settings", file, "watch"});
    EXPECT_NE(watch.outputLineWith(" changed Wilful\\nPlugin: 0 attributes"), "");
    EXPECT_TRUE(runMainLoopUntil([&] { return contentsOf(file).contains("Picked"); }));
}

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
        {"silence@GET#3", get, 3, "within 10 s"},
        {"close-before@INPUTLABEL#5", {"possible", "Velmora Switch Output 2"}, 1, "before all values were named"},
    };
    for (const auto& [fault, command, code, words] : cases) {
        const QString name = name_ + ' ' + fault;
        Program server(VELMORA_SWITCH_SERVER, {"--name", name, "--inputs", "1300", "--fault", fault});
        ASSERT_NE(server.outputLineWith("announced as"), "");
        // Half of the reply "2 1234" is one, too.
        const Result result =
            runHost(QStringList{"--json", "--settings", writeSettings(name, {{"Two", 1, 1233}})} + command);
        SCOPED_TRACE(fault + result.errors.toStdString() + result.output.toStdString());
        EXPECT_EQ(result.code, code);
        EXPECT_TRUE(result.errors.contains(words));
        QJsonObject json = QJsonDocument::fromJson(result.output).object();
        if (json.contains("attributes")) json = json.value("attributes").toArray().first().toObject();
        EXPECT_EQ(json.value("answered"), false);
        EXPECT_TRUE(json.value(command.first() == "possible" ? "possible" : "current").isNull());
    }
}

TEST_F(HostProgram, knowsNoPlugin) {
    const char* const table =
        "NAME     DISPLAY NAME  DIRECTION  TYPE            DEFAULT  CURRENT  POSSIBLE\n"
        "Level                             Double                   0.5      0\n"
        "Relay 1                           MultipleValues           Off      2\n"
        "Relay 2                           MultipleValues           On       2\n";
    std::string numbered;
    for (int number = 1; number <= 9999; ++number) {
        numbered += stringWithFormat("%04li\n", number);
    }
    const std::vector<std::tuple<const char*, QStringList, int, const char*, const char*>> cases = {
        {"late", {"attributes"}, 0, table, "released"},
        {"late", {"get", "Level"}, 0, "0.5\n", "released"},
        {"", {"set", "Relay 1", "On"}, 0, "On\n", "released"},
        {"stuck",
         {"--json", "set", "Relay 1", "On"},
         1,
         R"({"current":"Off","displayName":null,"name":"Relay 1","result":"failed","value":"On"})",
         "Off"},
        {"", {"servers"}, 1, "", "does not tell of switch servers"},
        {"numbered", {"possible", "Relay 1"}, 0, numbered.c_str(), "values left out: 1;"},
        {"numbered", {"set", "Relay 1", "10000"}, 1, "", "may read only the first four"},
        {"numbered", {"set", "Relay 1", "1"}, 0, "0001\n", "released"},
        {"unwilling", {"get", "Level"}, 1, "", "log lines\nstopped\nreleased\n"},
        {"endless", {"settings"}, 1, "", "contains itself"},
        {"endless", {"--json", "settings"}, 1, "{}", "contains itself"},
    };
    for (const auto& [relays, command, code, output, errors] : cases) {
        SCOPED_TRACE(command.join(' ').toStdString() + " with " + relays);
        qputenv("RELAYS", relays);
        const Result result = runHost(QStringList{"--bundle", WILFUL_BUNDLE, "--wait", "20"} + command);
        expect(result, code, output, errors);
        EXPECT_EQ(result.errors.contains("switch server"), command.last() == "servers");
    }
    qunsetenv("RELAYS");
}

// With what a shell does to the program.
TEST_F(HostProgram, saysWhatItCannotWrite) {
    const QString file = write("kept.plist", "<plist version='1.0'><dict/></plist>");
    const auto run = [&](const char* shell, const char* command) {
        return resultOf(Program("/bin/sh", {"-c", shell, "sh", VELMORA_HOST, "--interface", "lo", "--bundle",
                                            WILFUL_BUNDLE, "--settings", file, "--wait", "0", command}));
    };
#if defined(VELMORA_SANITIZED)
    // The thread sanitizer writes to a file itself, before the program can ignore the signal.
    const Result limited = run("trap '' XFSZ; ulimit -f 0; exec \"$@\"", "servers");
#else
    const Result limited = run("ulimit -f 0; exec \"$@\"", "servers");
#endif
    expect(limited, 3, limited.output, "\nreleased\n");
    EXPECT_TRUE(limited.errors.endsWith("File too large\n"));
    EXPECT_EQ(contentsOf(file), "<plist version='1.0'><dict/></plist>");
    expect(run("exec \"$@\" >/dev/full", "settings"), 2, "", "could not be written to standard output");
}

TEST_F(HostProgram, doubtsSettingsThatAreProbablyNotMeant) {
    const char* const form =
        "<plist version='1.0'><dict><key>selectedDevicename</key><string/>"
        "<key>configuredOutputs</key><array><dict><key>label</key><string>A</string>%1</dict>"
        "<dict><key>label</key><string>A</string><key>outputNumber</key><integer>1</integer>"
        "<key>defaultInputNumber</key><integer>1</integer></dict></array></dict></plist>";
    const std::vector<std::pair<const char*, std::vector<const char*>>> cases = {
        {"<key>output_number</key><integer>4</integer>",
         {"key \"selectedDevicename\"", "entry 1 of \"configuredOutputs\" (\"A\") has the key \"output_number\"",
          "has no \"outputNumber\"; the plugin takes it for 0", "has no \"defaultInputNumber\"",
          "entry 2 of \"configuredOutputs\" (\"A\") has the same \"label\" as entry 1"}},
        {"<key>outputNumber</key><integer>-1</integer><key>defaultInputNumber</key><integer>-2</integer>",
         {"\"outputNumber\" is -1", "\"defaultInputNumber\" is -2"}},
        {"<key>outputNumber</key><string>1</string><key>outputType</key><true/>",
         {"is no integer", "has the same output as entry 1", "\"outputType\" is not the text \"output\""}},
    };
    for (const auto& [keys, doubts] : cases) {
        const QString file = write("doubtful.plist", QString(form).arg(keys).toUtf8());
        const Result result = runHost({"--settings", file, "settings"});
        for (const char* const doubt : doubts)
            expect(result, 0, result.output, doubt);
    }
}

TEST_F(HostProgram, printsNothingThatATerminalObeys) {
    const std::string label = "A\x7F\u009B\u202E\u2028\U000E0041";
    const auto isClean = [](const QByteArray& text) {
        const QString shown = QString::fromUtf8(text).remove('\n');
        return stringByEscapingControlCharacters(shown.toStdString()) == shown.toStdString();
    };
    const QString file = writeSettings("Nowhere", {{label + '\x1B', 0, 0}});
    const Result document = runHost({"--settings", file, "settings"});
    EXPECT_TRUE(isClean(QByteArray(document.output).replace('\t', ""))) << document.output.constData();
    const Result json = runHost({"--settings", file, "--json", "settings"});
    EXPECT_TRUE(isClean(json.output) && json.output.contains("\\uDB40\\uDC41")) << json.output.constData();
    EXPECT_EQ(QJsonDocument::fromJson(json.output)["configuredOutputs"][0]["label"].toString().toStdString(),
              label + "\uFFFD");
    for (const QStringList& command : {QStringList{"settings", "--settings", write("\x1B.plist", "<")},
                                       {"settings", "--bundle", "\x1B"},
                                       {"\x1B"}}) {
        const Result result = runHost(command);
        expect(result, 2, "", "\\x1B");
        EXPECT_TRUE(isClean(result.errors)) << result.errors.constData();
    }
}

TEST_F(HostWithServer, watchesUntilInterrupted) {
    const QStringList arguments = {"--interface", "lo", "--settings", writeSettings(name_, {{"", 0, 0}, {"1", 1, 7}}),
                                   "watch"};
    Program text(VELMORA_HOST, arguments);
    EXPECT_NE(text.outputLineWith("Velmora Switch: 2 attributes"), "");
    EXPECT_NE(text.errorLine().find("\"defaultInputNumber\" 7 is beyond the matrix, which has 3"), std::string::npos);
    EXPECT_EQ(text.exitCodeAfterSignal(SIGINT), 0);

    Program json(VELMORA_HOST, arguments + QStringList{"--json"});
    const QJsonObject notice =
        QJsonDocument::fromJson(QByteArray::fromStdString(json.outputLineWith("\"changed\""))).object();
    EXPECT_EQ(notice.value("plugin"), "Velmora Switch");
    EXPECT_EQ(notice.value("attributes"), (QJsonArray{"Velmora Switch Output 1", "Velmora Switch Output 2"}));
    EXPECT_EQ(json.exitCodeAfterSignal(SIGTERM), 0);

    // Blocked by a server that is slow, it tells how to end at once.
    const QString slow = name_ + " slow";
    Program server(VELMORA_SWITCH_SERVER, {"--name", slow, "--verbose", "--fault", "delay=5000@INPUTLABEL"});
    ASSERT_NE(server.outputLineWith("announced as"), "");
    Program blocked(VELMORA_HOST,
                    {"--interface", "lo", "--settings", writeSettings(slow, {{"", 0, 0}}), "--defaults", "watch"});
    EXPECT_NE(blocked.errorLine().find("over the operator's routes"), std::string::npos);
    ASSERT_NE(server.outputLineWith("INPUTLABEL"), "");
    blocked.sendSignal(SIGINT);
    EXPECT_NE(blocked.errorLine().find("once more (Ctrl-C) ends it now"), std::string::npos);
    EXPECT_EQ(blocked.exitCodeAfterSignal(SIGTERM), -1);
}

TEST_F(HostWithServer, timesOutWithWhatWasMissing) {
    const QStringList arguments = {"--interface", "lo", "--settings", writeSettings("Elsewhere", {{"", 0, 0}}),
                                   "--wait",      "8"};
    Program attributes(VELMORA_HOST, arguments + QStringList{"attributes"});
    Program servers(VELMORA_HOST, arguments + QStringList{"servers"});
    const QByteArray name = name_.toUtf8();
    expect(resultOf(std::move(attributes)), 3, "",
           "\"Elsewhere\" was not found within 8 s; found were: \"" + name + '"');
    // What there is, is shown all the same.
    expect(resultOf(std::move(servers)), 3, "  " + name + '\n', "was not found");

    const ListeningPort port;
    const PublishedService silent("Silent " + name.toStdString(), port.port());
    expect(runHost({"--settings", writeSettings("Silent " + name_, {{"", 0, 0}}), "--wait", "6", "attributes"}), 3, "",
           "was found, but did not connect");
}

}  // namespace velmora::test
