// Settings files without a window: "configure" and "check-settings", by the real program.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <deque>
#include <filesystem>
#include <fstream>

#include "host/SettingsEdit.h"
#include "platform/foundation/FileContents.h"
#include "platform/foundation/PropertyListXML.h"
#include "tests/host/Program.h"
#include "tests/plugin/Settings.h"

namespace velmora::test {

namespace {

// In the first entry everything is what it should be, and the second is ready for mistakes.
constexpr const char* kGood = R"(<plist version="1.0"><dict>
<key>selectedDeviceName</key><string>Studio</string><key>configuredOutputs</key><array>
<dict><key>label</key><string>A</string><key>outputNumber</key><integer>0</integer>
<key>outputType</key><string>output</string><key>defaultInputNumber</key><integer>15</integer></dict>
<dict><key>label</key><string>B</string><key>outputNumber</key><integer>7</integer>
<key>defaultInputNumber</key><integer>3</integer></dict></array></dict></plist>)";

struct SettingsCommands : testing::Test {
    // What the program prints, then what it complains of, and its exit code.
    QString run(const QStringList& arguments) {
        Program program(VELMORA_HOST, QStringList{"--interface", "lo"} + arguments);
        code = program.exitCode();
        const std::string output = program.output();
        return QString::fromStdString(output + program.errors());
    }
    void write(const QString& contents) const { std::ofstream(file.toStdString()) << contents.toStdString(); }
    DictionaryReference settings() const { return propertyListWithContentsOfFile(file.toStdString())->dictionary(); }

    const QTemporaryDir folder;
    const QString file = folder.filePath("settings.plist");
    int code = -1;
};

}  // namespace

TEST(SettingsEdit, readsWhatAPersonTypes) {
    const std::vector<std::tuple<const char*, std::int64_t, const char*, std::int64_t>> good = {
        {"3", 2, "(as it is)", -1},
        {"3=A,b=c", 2, "A,b=c", -1},
        {"65536,default=1", 65535, "(as it is)", 0},
        {"1=A,default=2,default=16", 0, "A,default=2", 15},
    };
    for (const auto& [text, output, label, input] : good) {
        const auto edit = outputEditInText(text);
        ASSERT_TRUE(edit) << text;
        EXPECT_EQ(std::tuple(edit->output, edit->label.value_or("(as it is)"), edit->defaultInput.value_or(-1)),
                  std::tuple(output, std::string(label), input));
    }
    for (const char* const text : {"", "0", "65537", "-1", "1 ", "1=", "1= ", "A=1", "1=A,default=", "1,default=0"}) {
        EXPECT_FALSE(outputEditInText(text)) << text;
    }
    // As many outputs as a settings file may name, all with one label.
    const DictionaryReference settings = makeDictionary();
    SettingsEdit many;
    std::map<std::int64_t, std::string> labels;
    for (std::int64_t output = 0; output < 60'000; ++output) {
        many.outputs.push_back({output, std::nullopt, std::nullopt});
        many.removals.push_back(output);
        labels.emplace(output, "Wall");
    }
    EXPECT_EQ(outputsWithoutLabel(settings, many).size(), 60'000U);
    many.removals.clear();
    ASSERT_TRUE(changeSettings(settings, many, labels));
    EXPECT_EQ(outputsIn(settings).back().label, "Wall 60000");
    EXPECT_EQ(*outputsInText("1-3,8"), (std::vector<std::int64_t>{0, 1, 2, 7}));
    for (const char* const text : {"", "1-", "-1", "3-1", "1,,2", "1-2-3"}) {
        EXPECT_FALSE(outputsInText(text)) << text;
    }
}

TEST_F(SettingsCommands, everyMistakeIsNamedByEntryAndKey) {
    const std::vector<std::tuple<const char*, const char*, const char*>> mistakes = {
        {"selectedDeviceName", "selectedDevicename", "\"selectedDevicename\", which the plugin does not know; perhaps"},
        {"<string>Studio</string>", "<string></string>", "no switch server (\"selectedDeviceName\")"},
        {"<string>Studio</string>", "<true/>", "\"selectedDeviceName\" is not a text"},
        {"configuredOutputs", "configuredOutput", "perhaps \"configuredOutputs\" is meant"},
        {"7", "0", "(\"B\") is for output 1 (\"outputNumber\" 0), and so is entry 1;"},
        {"7", "65536", "(\"B\"): \"outputNumber\" is 65536, which is no number of an output"},
        {"<string>Studio</string>", "<string>Studio\n</string>", "begins or ends with a blank or a line end"},
        {"7", "-1", "entry 2 of \"configuredOutputs\" (\"B\"): \"outputNumber\" is -1"},
        {"7", "8", "(\"B\"): output 9 (\"outputNumber\" 8) is beyond the matrix, which has 8"},
        {"<integer>7</integer>", "<string>7</string>", "(\"B\"): \"outputNumber\" is no integer"},
        {"<key>outputNumber</key><integer>7</integer>", "", "(\"B\") has no \"outputNumber\""},
        {"<integer>3</integer>", "<integer>16</integer>", "input 17 (\"defaultInputNumber\" 16) is beyond the matrix"},
        {"<string>B</string>", "<string>A</string>", "entry 2 of \"configuredOutputs\" (\"A\") has the same \"label\""},
        {"<string>B</string>", "<integer>2</integer>", "entry 2 of \"configuredOutputs\" has a \"label\" that is not"},
        {"<string>B</string>", "<string>\t</string>", "has a \"label\" without a visible character"},
        {"<string>B</string>", "<string>B\n</string>", "has a control character, such as a line end, in its \"label\""},
        {"<key>label</key><string>B</string>", "", "entry 2 of \"configuredOutputs\" has no \"label\""},
        {"<string>output</string>", "<string>input</string>", "(\"A\"): \"outputType\" is not the text \"output\""},
        {"<key>label</key><string>B", "<key>label</key><string>C</string><key>label</key><string>B",
         "line 5 of the settings file has the key \"label\" once more"},
        {"</array>", "", "no property list: line 6"},
    };
    const QStringList check = {"check-settings", "--matrix", "16x8", file};
    for (const auto& [right, wrong, words] : mistakes) {
        const QString document = QString(kGood).replace(right, wrong);
        ASSERT_NE(document, kGood);
        write(document);
        const QString told = run(check);
        EXPECT_TRUE(told.contains(words)) << words << "\n" << told.toStdString();
        EXPECT_EQ(code, 2) << words;
    }
    EXPECT_EQ(QJsonDocument::fromJson(run(QStringList{"--json"} + check).toUtf8())["mistakes"].toArray().size(), 1);
    write(kGood);
    EXPECT_EQ(run(check), "no mistakes found: server \"Studio\", 2 outputs\n");
    EXPECT_EQ(code, 0);
    EXPECT_TRUE(run({"check-settings", folder.filePath("none")}).contains("No such file") && code == 2);
}

TEST_F(SettingsCommands, changeWhatIsAskedForAndKeepEverythingElse) {
    write(QString(kGood)
              .replace("<key>label</key><string>B", "<key>Colour</key><string>red</string><key>label</key><string>B")
              .replace("<key>selected", "<key>Remark</key><true/><key>selected"));
    EXPECT_EQ(
        run({"configure", "--server", "Main", "--output", "1=B", "--output", "8=A,default=9", "--output", "3=C", file})
            .section("velmora-host:", 0, 0),
        "server \"Main\" instead of \"Studio\"\noutput 1: \"B\" instead of \"A\"\noutput 8: \"A\" instead of \"B\"\n"
        "output 8: default input 9 instead of 4\noutput 3 added: \"C\", default input 3\n");
    EXPECT_EQ(code, 0);
    EXPECT_EQ(outputsIn(settings()), (Outputs{{"B", 0, 15}, {"A", 7, 8}, {"C", 2, 2}}));
    EXPECT_TRUE(valueForKey(settings(), "Remark"));
    EXPECT_EQ(textForKey((*valueForKey(settings(), "configuredOutputs")->array())[1].dictionary(), "Colour"), "red");
    run({"--settings", file, "configure", "--remove", "1-3", "--output", "1=D"});
    EXPECT_EQ(code, 2) << "there is no output 2";
    run({"--settings", file, "configure", "--remove", "1,3", "--output", "1=D"});
    EXPECT_EQ(outputsIn(settings()), (Outputs{{"A", 7, 8}, {"D", 0, 0}}));

    const std::string before = *readFile(file.toStdString(), 10'000);
    for (const QStringList& refused : {QStringList{"--output", "2=A"},
                                       {"--output", "0=E"},
                                       {"--outputs", "2-1"},
                                       {"--server", ""},
                                       {"--server", "\x1B[31m"},
                                       {"--output", "2=\uFFFE"},
                                       {},
                                       {"--settings", file, "--output", "2=E"}}) {
        run(QStringList{"configure", file} + refused);
        EXPECT_EQ(code, 2) << refused.join(' ').toStdString();
    }
    EXPECT_EQ(run({"configure", "--output", "1=D", file}).section('\n', 0, 0), "nothing to change");
    EXPECT_EQ(*readFile(file.toStdString(), 10'000), before);
    std::filesystem::create_symlink("none", folder.filePath("link").toStdString());
    EXPECT_TRUE(run({"configure", "--server", "A", folder.filePath("link")}).contains("is a link that leads nowhere"));
}

TEST_F(SettingsCommands, ofManyAtOnceLoseNoChange) {
    constexpr int kPrograms = 8;
    std::deque<Program> programs;
    for (int number = 1; number <= kPrograms; ++number) {
        programs.emplace_back(VELMORA_HOST,
                              QStringList{"configure", "--output", QString("%1=Label %1").arg(number), file});
    }
    for (Program& program : programs) {
        EXPECT_EQ(program.exitCode(), 0);
    }
    EXPECT_EQ(outputsIn(settings()).size(), kPrograms);
}

TEST_F(SettingsCommands, takeLabelsFromTheServerWhereItAnswers) {
    const QString name = QString("Configure %1").arg(QCoreApplication::applicationPid());
    std::ofstream(folder.filePath("labels.json").toStdString()) << R"({"outputs": ["Wall\uFFFD", "", "Wall\uFFFE"]})";
    Program server(VELMORA_SWITCH_SERVER, {"--name", name, "--inputs", "4", "--outputs", "3", "--interface", "lo",
                                           "--labels", folder.filePath("labels.json")});
    ASSERT_NE(server.outputLineWith("announced as"), "");
    const QString told = run({"configure", "--server", name, "--output", "4=Desk", "--outputs", "1-4", file});
    EXPECT_EQ(code, 0);
    EXPECT_EQ(outputsIn(settings()),
              (Outputs{{"Desk", 3, 3}, {"Wall\uFFFD", 0, 0}, {"Output 2", 1, 1}, {"Wall\uFFFD 2", 2, 2}}));
    EXPECT_TRUE(told.startsWith("new settings file") && told.contains("output 4 (\"outputNumber\" 3) is beyond"))
        << told.toStdString();

    EXPECT_TRUE(
        run({"configure", "--server", "Nowhere", "--wait", "0.5", "--output", "5", file}).contains("not found"));
    EXPECT_EQ(code, 0);
    EXPECT_EQ(outputsIn(settings()).back(), (Output{"Output 5", 4, 4}));

    // All of its answers together have the time.
    Program slow(VELMORA_SWITCH_SERVER, {"--name", name + " slow", "--interface", "lo", "--outputs", "30", "--fault",
                                         "delay=500@OUTPUTLABEL"});
    ASSERT_NE(slow.outputLineWith("announced as"), "");
    const QString other = folder.filePath("other.plist");
    EXPECT_TRUE(run({"configure", "--server", name + " slow", "--wait", "5", "--outputs", "1-30", other})
                    .contains("the time was over (--wait)"));

    // Which label is whose, nobody can tell.
    Program doubling(VELMORA_SWITCH_SERVER, {"--name", name + " twice", "--interface", "lo", "--outputs", "9",
                                             "--fault", "double@OUTPUTLABEL"});
    ASSERT_NE(doubling.outputLineWith("announced as"), "");
    const QStringList more = {"configure", "--server", name + " twice", "--outputs", "6-9", file};
    EXPECT_TRUE(run(more).contains("says more than it was asked"));
    EXPECT_EQ(outputsIn(settings()).back(), (Output{"Output 9", 8, 8}));
}

}  // namespace velmora::test
