// The validator passes what is sound, and says of each faulty plugin what is wrong with it.
#include <gtest/gtest.h>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <filesystem>

#include "platform/foundation/PropertyListXML.h"
#include "tests/host/Program.h"
#include "tests/plugin/Settings.h"

namespace velmora::test {
namespace {

struct Outcome {
    int code;
    std::string output, errors;
};

Outcome check(const QStringList& arguments) {
    Program program(PLUGIN_CHECK, QStringList{"--interface", "lo"} + arguments);
    Outcome outcome{-1, program.output(), program.errors()};
    outcome.code = program.exitCode();
    return outcome;
}

Outcome checkWithFault(const char* fault, const QStringList& arguments) {
    qputenv("FAULT", fault);
    const Outcome outcome = check(arguments + QStringList{FAULTY_BUNDLE});
    qunsetenv("FAULT");
    return outcome;
}

struct Fault {
    const char* name;
    const char* check;
    const char* reason;
};

constexpr Fault kFaults[] = {
    {"an abort at the second start", "started-twice", "ended by SIGABRT (Aborted) in startAndSetCurrentValuesToDefau"},
    {"an exit", "names", "ended the process with exit code 0 in startAndSetCurrentValuesToDefaults"},
#ifndef VELMORA_SANITIZED  // under a sanitizer memory has no bound and is not counted
    {"lost memory", "loading", "memory grows by"},
    {"greed", "names",
     "threw an exception in startAndSetCurrentValuesToDefaults, which a plugin must not do: std::bad_"},
#endif
    {"a stop that hangs", "after-stop", "stop had not returned within 3 s"},
    {"a crash at a stop too many", "stopped-twice", "ended by SIGSEGV (Segmentation fault) in stop"},
    {"an exception", "unknown-names", "threw an exception in currentValueOfAttributeWithName, which a plugin must not"},
    {"one object for all", "entry", "it makes the same plugin object twice, and the caller of each owns it"},
    {"no name", "names", "pluginName is empty"},
    {"null names", "before-start", "attributeNames gave null"},
    {"a text in Latin-1", "attribute-records", "displayNameOfAttributeWithName gave a text that is not UTF-8: \"Schr"},
    {"every name known", "unknown-names", "a look-up knows the attribute \"There is no such attribute\""},
    {"another answer", "unknown-names", "setValueForAttributeWithName answered 7"},
    {"a name twice", "attribute-names", "two attributes have the name \"Level\""},
    {"no direction", "attribute-records", "the attribute \"Level\" has no direction"},
    {"a word for a number", "attribute-values", "the attribute \"Level\" is a \"Double\", but has the value \"loud\""},
    {"a value that is not possible", "attribute-values",
     "the attribute \"Relay\" has the value \"Open\", which is none"},
    {"another value than was set", "set-values", "the attribute \"Level\" was set to \"0.5\" and has \"On\""},
    {"look-ups for one thread", "look-up-threads", "ended by SIGSEGV (Segmentation fault) in"},
    {"no thought of null", "no-settings", "ended by SIGSEGV (Segmentation fault) in setDefaultSettings"},
    {"null settings", "before-start", "defaultSettings gave null instead of a dictionary"},
    {"trust in types", "settings-hostile",
     "threw an exception in setDefaultSettings, which a plugin must not do: bad o"},
    {"settings that change", "settings-returned", "them again, differ under the key \"level\""},
    {"settings of its own", "settings-new", "defaultSettings gave the same dictionary twice instead of a new one"},
    {"a delegate that is never cleared", "delegate", "delegate does not give null after it was cleared"},
    {"a call after the release", "release-without-stop", "ended by SIGSEGV (Segmentation fault) in the release of the"},
    {"another thread", "delegate-thread", "the delegate was called on another thread than the main thread"},
    {"another plugin's name", "delegate-thread", "the delegate was told the name \"Other\", the plugin's is \"Faulty"},
    {"use after the release", "delegate-releases", "ended by SIGSEGV (Segmentation fault) in setDefaultSettings"},
    {"a plugin that holds itself", "release-without-stop", "an object that it made is alive"},
    {"another view each time", "view", "the view went when settingsView was called again"},
    {"a view that stays", "view", "the view is there after the plugin, which owns it, has gone"},
    {"a view without windows", "view-without-windows", "ended by SIGABRT (Aborted) in settingsView"},
    {"a state that there is not", "status", "connectionStatus tells the state 99, which there is not"},
    {"an outcome of another attribute", "status", "lastOutcome tells of \"\" after \"Level\" was read or set"},
    {"a notice inside an operation", "status-observer", "the observer was called inside an operation of the plugin"},
    {"a notice inside itself", "status-observer", "the observer was called inside itself"},
    {"a lost descriptor", "loading", "of its descriptors there were"},
    {"a lost process", "loading", "of its processes there were"},
    {"another thread at the stop", "names", "the delegate was called on another thread than the main thread"},
    {"a lost thread", "loading", "of its threads there were"},
};

TEST(PluginCheck, failsEachFaultyPluginForTheRightReason) {
    for (const auto& [fault, name, reason] : kFaults) {
        SCOPED_TRACE(fault);
        const auto outcome = checkWithFault(fault, {"--set", "--wait", "0.3", "--limit", "3", "--only", name});
        EXPECT_EQ(outcome.code, 1);
        EXPECT_TRUE(outcome.output.starts_with("FAILED  " + std::string(name) + ": ")) << outcome.output;
        EXPECT_NE(outcome.output.find(reason), std::string::npos) << outcome.output;
        EXPECT_TRUE(outcome.output.ends_with("\n0 ok, 1 failed, 0 not applicable\n")) << outcome.output;
    }
}

TEST(PluginCheck, passesASoundPluginOfAnotherKindInEveryCheck) {
    const auto outcome = checkWithFault("", {"--set", "--wait", "0.3"});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_TRUE(outcome.output.ends_with("28 ok, 0 failed, 0 not applicable\n")) << outcome.output;
}

TEST(PluginCheck, passesOurPluginWithAServerInEveryCheckAndWithoutOneInWhatCanBeTried) {
    const QTemporaryDir folder;
    const std::string file = folder.filePath("settings.plist").toStdString();
    const std::string name = "Plugin Check " + std::to_string(getpid());
    ASSERT_TRUE(writePropertyListToFile(settingsWith(name, {{"One", 0, 1}, {"Two", 1, 0}}), file));
    Program server(VELMORA_SWITCH_SERVER, {"--name", QString::fromStdString(name), "--interface", "lo"});
    ASSERT_NE(server.outputLineWith("announced as"), "");
    const auto with = check({"--set", "--wait", "20", "--settings", QString::fromStdString(file), VELMORA_BUNDLE});
    EXPECT_EQ(with.code, 0);
    EXPECT_TRUE(with.output.ends_with("28 ok, 0 failed, 0 not applicable\n")) << with.output;
    const auto without = check({"--wait", "0.3", VELMORA_BUNDLE});
    EXPECT_EQ(without.code, 0) << without.output;
    EXPECT_NE(without.output.find("not applicable  attribute-values: the plugin had no attributes"), std::string::npos);
}

TEST(PluginCheck, aBundleThatCannotBeLoadedFailsTwiceAndSaysNothingElse) {
    const QTemporaryDir folder;
    const auto contents = std::filesystem::path(folder.path().toStdString()) / "Contents";
    std::filesystem::create_directory(contents);
    auto information = makeDictionary();
    information->emplace("CFBundleExecutable", "Missing.so");
    information->emplace("NSPrincipalClass", "FaultyPlugin");
    ASSERT_TRUE(writePropertyListToFile(information, contents / "Info.plist"));
    const auto outcome = check({folder.path()});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_NE(outcome.output.find("FAILED  information: there is no file Contents/Missing.so"), std::string::npos);
    EXPECT_TRUE(outcome.output.ends_with("\n0 ok, 2 failed, 26 not applicable\n")) << outcome.output;
    // None that could be made is not as good as one that holds.
    const auto none = check({"--json", "--only", "names", folder.path()});
    const QJsonObject document = QJsonDocument::fromJson(QByteArray::fromStdString(none.output)).object();
    EXPECT_EQ(none.code, 1);
    EXPECT_EQ(document["holds"], false);
    const QJsonValue names = document["checks"].toArray().first();
    EXPECT_EQ(names["name"], "names");
    EXPECT_EQ(names["outcome"], "notApplicable");
    EXPECT_TRUE(names["reason"].toString().endsWith("Missing.so cannot be loaded: there is no such file"));
}

TEST(PluginCheck, wrongUsageIsRefusedAndSaysWhatWasMeant) {
    EXPECT_NE(check({"--only", "stoped-twice", FAULTY_BUNDLE}).errors.find("did you mean \"stopped-twice\"?"),
              std::string::npos);
    for (const QStringList& words :
         {QStringList{}, {"--wait", "soon", "x"}, {"/nowhere"}, {"--settings", "/nowhere"}}) {
        const auto outcome = check(words);
        EXPECT_EQ(outcome.code, 2);
        EXPECT_TRUE(outcome.output.empty() && outcome.errors.starts_with("velmora-plugin-check: ")) << outcome.errors;
    }
    EXPECT_EQ(check({"--help"}).code, 0);
}

}  // namespace
}  // namespace velmora::test
