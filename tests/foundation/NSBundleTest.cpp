#include "platform/foundation/NSBundle.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <fstream>

#include "platform/foundation/NSNotificationCenter.h"
#include "platform/foundation/PropertyListXML.h"
#include "platform/threads/MainThread.h"
#include "platform/threads/NSThread.h"
#include "tests/support/MainLoop.h"

namespace velmora {
namespace {

namespace fs = std::filesystem;

// A bundle in a folder of its own, taken away at the end.
class TestBundle {
  public:
    explicit TestBundle(const std::string& moduleKind = "good") {
        fs::create_directories(contents() / "Resources");
        fs::copy_file(fs::path(TEST_MODULE_FOLDER) / ("foundation-test-module-" + moduleKind + ".so"), module());
        information->insert_or_assign("CFBundleExecutable", "module.so");
        information->insert_or_assign("NSPrincipalClass", "TestPrincipal");
    }

    fs::path path() const { return fs::path(folder_.path().toStdString()) / "Test.bundle"; }
    fs::path contents() const { return path() / "Contents"; }
    fs::path module() const { return contents() / "module.so"; }
    bool isMapped() const {
        void* const module = dlopen(fs::canonical(this->module()).c_str(), RTLD_NOW | RTLD_NOLOAD);
        return module != nullptr && dlclose(module) == 0;
    }

    std::shared_ptr<NSBundle> open() const {
        EXPECT_TRUE(writePropertyListToFile(information, contents() / "Info.plist"));
        return *NSBundle::bundleWithPath(path());
    }

    const DictionaryReference information = std::make_shared<PropertyListDictionary>();

  private:
    const QTemporaryDir folder_;
};

template <typename Value>
void expectRefusal(const Result<Value>& result, const std::string& reason) {
    ASSERT_FALSE(result) << reason;
    EXPECT_NE(result.failure().reason.find(reason), std::string::npos) << result.failure().reason;
}

TEST(NSBundle, findsItsInformationAndOnlyItsOwnResources) {
    TestBundle files;
    std::ofstream(files.contents() / "Resources" / "Settings.ui") << "ui";
    std::ofstream(files.contents() / "Secret.ui") << "not for you";
    fs::create_directory(files.contents() / "Resources" / "Folder.ui");
    const auto bundle = files.open();
    ASSERT_TRUE(bundle);
    EXPECT_EQ(bundle->pathForResource("Settings", "ui"),
              bundle->bundlePath() / "Contents" / "Resources" / "Settings.ui");
    EXPECT_EQ(bundle->pathForResource("Settings.ui", ""), bundle->pathForResource("Settings", "ui"));
    for (const std::string name : {"../Secret", "..", "", "Folder", "Missing", "./Settings", "../Resources/Settings"}) {
        EXPECT_EQ(bundle->pathForResource(name, "ui"), std::nullopt) << name;
    }
    EXPECT_EQ(bundle->pathForResource("Settings", std::string_view("ui\0", 3)), std::nullopt);

    std::ofstream(files.contents() / "Info.plist") << "<plist><array/></plist>";
    expectRefusal(NSBundle::bundleWithPath(files.path()), "does not hold a dictionary");
}

TEST(NSBundle, refusesModulesThatDoNotFitAndSaysWhy) {
    const std::tuple<const char*, const char*, PropertyList, const char*> cases[] = {
        {"other-version", "Any", 1, "version 2"},
        {"without-entry", "Any", 1, "does not export"},
        {"code-as-entry", "Any", 1, "does not export"},
        {"incomplete", "Any", 1, "incomplete"},
        {"good", "NSPrincipalClass", "Another", "Another"},
        {"good", "NSPrincipalClass", 5, "(null)"},
        {"good", "CFBundleExecutable", 5, "names no module"},
        {"good", "CFBundleExecutable", "../Contents/module.so", "names no module"},
        {"good", "CFBundleExecutable", "..", "names no module"},
        {"good", "CFBundleExecutable", "missing.so", "no such file"},
        {"good", "CFBundleExecutable", "Resources", "no such file"},
        {"good", "CFBundleExecutable", "Info.plist", "cannot be loaded"}};
    int timersFired = 0;
    const auto timers = NSNotificationCenter::defaultCenter().addObserver("TestModuleStaticTimer", nullptr,
                                                                          [&](const auto&) { ++timersFired; });
    for (const auto& [moduleKind, key, value, expected] : cases) {
        TestBundle files(moduleKind);
        files.information->insert_or_assign(key, value);
        const auto bundle = files.open();
        expectRefusal(bundle->load(1), expected);
        EXPECT_FALSE(bundle->isLoaded());
        expectRefusal(bundle->makePrincipalObject(), "not loaded");
    }
    // What the six that were looked at had begun goes on in code that must still be there.
    EXPECT_TRUE(test::runMainLoopUntil([&] { return timersFired == 6; })) << timersFired;
}

TEST(NSBundle, unloadsOnlyWhatHasEndedAndSurvivesATimerThatHasNot) {
    TestBundle files;
    const auto bundle = files.open();
    int threadsEnded = 0;
    int timersFired = 0;
    auto& center = NSNotificationCenter::defaultCenter();
    const auto threads = center.addObserver("TestModuleThreadEnded", nullptr, [&](const auto&) { ++threadsEnded; });
    const auto timers = center.addObserver("TestModuleTimer", nullptr, [&](const auto&) { ++timersFired; });
    for (int round = 1; round <= 3; ++round) {
        ASSERT_TRUE(bundle->load(1));
        EXPECT_TRUE(bundle->load(1));
        EXPECT_FALSE(bundle->load(2));
        auto object = *bundle->makePrincipalObject();
        expectRefusal(bundle->unload(), "alive");
        EXPECT_TRUE(files.isMapped());

        object.reset();
        {
            const MainThread::ModeScope mode(NSModalPanelRunLoopMode);
            expectRefusal(bundle->unload(), "panel");
        }
        // The thread sleeps for thirty seconds and then hands work over; both must be over.
        const auto unloaded = bundle->unload();
        EXPECT_TRUE(unloaded) << unloaded.failure().reason;
        EXPECT_EQ(NSThread::runningThreads(), 0);
        EXPECT_EQ(threadsEnded, round);
        EXPECT_FALSE(bundle->isLoaded());
        EXPECT_TRUE(bundle->unload());
    }
    // The timers go off later, in code that must still be there.
    EXPECT_TRUE(test::runMainLoopUntil([&] { return timersFired == 3; }));
}

}  // namespace
}  // namespace velmora
