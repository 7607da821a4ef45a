// The real host program by itself: usage, files, plugins that are not ours, and what it prints.
#include <QDir>

#include "host/CommandTable.h"
#include "platform/foundation/PropertyListXML.h"
#include "platform/foundation/QtText.h"
#include "tests/host/HostFixture.h"
#include "tests/support/MainLoop.h"

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

TEST_F(HostProgram, findsBundlesInItsSearchPath) {
    ASSERT_TRUE(QDir(path("")).mkpath("own") && QDir(path("")).mkpath("broken/VelmoraSwitch.bundle"));
    ASSERT_TRUE(QFile::link(WILFUL_BUNDLE, path("own/Wilful.bundle")));
    qputenv("VELMORA_PLUGIN_PATH", "relative::" + path("own").toUtf8());
    const Result found = runHost({"plugins"});
    expect(found, 0, found.output, "");
    const QList<QByteArray> lines = found.output.split('\n');
    EXPECT_TRUE(lines.value(1).startsWith("  Wilful ") && lines.value(1).endsWith("/own/Wilful.bundle"));
    EXPECT_TRUE(lines.value(2).startsWith("* Velmora Switch  " PROJECT_VERSION "  "));
    const Result chosen = runHost({"plugins", "--bundle", "Wilful", "--json"});
    EXPECT_EQ(QJsonDocument::fromJson(chosen.output)["plugins"][0]["used"], QJsonValue(true)) << chosen.output.data();
    const Result wilful = runHost({"settings", "--bundle", "Wilful.bundle"});
    expect(wilful, 0, wilful.output, "released");
    expect(runHost({"settings", "--bundle", "Nowhere"}), 2, "", "no bundle \"Nowhere.bundle\" in \"");

    qputenv("VELMORA_PLUGIN_PATH", path("broken").toUtf8());
    const Result broken = runHost({"plugins"});
    expect(broken, 2, broken.output, "Info.plist");
    expect(runHost({"settings"}), 2, "", "broken/VelmoraSwitch.bundle");
    qunsetenv("VELMORA_PLUGIN_PATH");
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
        "<plist "
        "version='1.0'><dict><key>configuredOutputs</key><array><dict><key>label</key><integer>1</integer></dict>"
        "</array></dict></plist>",
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
    for (const QStringList& command : {QStringList{"attributes"}, {"get", "1"}, {"get", "--all"}, {"dump"}}) {
        expect(runHost(command), 2, "", "the settings name no switch server");
    }
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

    write("kept.plist",
          "<plist version='1.0'><dict><key>Remark</key><string>Not yours</string>"
          "<key>Gain</key><real>-inf</real></dict></plist>");
    EXPECT_TRUE(
        runHost(QStringList{"--json"} + arguments.mid(0, 4) + QStringList{"settings"}).output.contains("\"-inf\""));
    runHost(arguments);
    EXPECT_EQ(textForKey(propertyListWithContentsOfFile(file.toStdString())->dictionary(), "Remark"), "Not yours");

    // What the command said stands.
    expect(runHost({"--bundle", WILFUL_BUNDLE, "--settings", path("no/folder.plist"), "--wait", "0", "servers"}), 3, "",
           "folder.plist");

    qputenv("RELAYS", "edited");
    qputenv("EDITED", file.toUtf8());
    expect(runHost({"--bundle", WILFUL_BUNDLE, "--settings", file, "get", "Level"}), 2, "0.5\n",
           "\"" + file.toUtf8() + "\" was changed by somebody else");
    EXPECT_TRUE(contentsOf(file).contains("Remark") && contentsOf(file).endsWith("<!-- edited -->"));
    qunsetenv("RELAYS");

    // Of a program that runs for long, the change is kept at once. What the plugin calls itself stays on one line.
    EXPECT_TRUE(QFile::remove(file));
    Program watch(VELMORA_HOST, {"--bundle", WILFUL_BUNDLE, "--settings", file, "watch"});
    EXPECT_NE(watch.outputLineWith(" changed Wilful\\nPlugin: 0 attributes"), "");
    EXPECT_TRUE(runMainLoopUntil([&] { return contentsOf(file).contains("Picked"); }));
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
    const std::string noSettings = *XMLWithPropertyList(makeDictionary());
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
        {"null", {"settings"}, 0, noSettings.c_str(), "released"},
        {"null", {"--wait", "0", "attributes"}, 3, "", "not complete"},
        {"throwing", {"get", "Level"}, 2, "", "exception in currentValueOfAttributeWithName, which a plugin must not"},
        {"misnamed", {"get", "Relay 1"}, 1, "", "tells of another attribute"},
        {"misnamed", {"get", "Relay 2"}, 0, "On\n", "released"},
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
    for (const char* const command : {"settings", "--help"}) {
        expect(run("exec \"$@\" >/dev/full", command), 2, "", "could not be written to standard output");
    }
}

TEST_F(HostProgram, doubtsSettingsThatAreProbablyNotMeant) {
    const char* const form =
        "<plist version='1.0'><dict><key>selectedDevicename</key><string/>"
        "<key>configuredOutputs</key><array><dict><key>label</key><string>A</string>%1</dict>"
        "<dict><key>label</key><string>A</string><key>outputNumber</key><integer>1</integer>"
        "<key>defaultInputNumber</key><integer>1</integer></dict></array></dict></plist>";
    const std::vector<std::pair<const char*, std::vector<const char*>>> cases = {
        {"<key>output_number</key><integer>4</integer><key>output_number</key><integer>4</integer>",
         {"key \"selectedDevicename\"", "entry 1 of \"configuredOutputs\" (\"A\") has the key \"output_number\"",
          "perhaps \"outputNumber\" is meant", "line 1 of the settings file has the key \"output_number\" once more",
          "has no \"outputNumber\"; the plugin takes it for output 1 (\"outputNumber\" 0)",
          "has no \"defaultInputNumber\"",
          "entry 2 of \"configuredOutputs\" (\"A\") has the same \"label\" as entry 1"}},
        {"<key>outputNumber</key><integer>-1</integer><key>defaultInputNumber</key><integer>-2</integer>",
         {"\"outputNumber\" is -1", "\"defaultInputNumber\" is -2"}},
        {"<key>outputNumber</key><string>1</string><key>outputType</key><true/>",
         {"is no integer", "is for output 2 (\"outputNumber\" 1), and so is entry 1",
          "\"outputType\" is not the text \"output\""}},
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

}  // namespace velmora::test
