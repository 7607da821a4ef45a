// What may happen to the settings view while a person is in the midst of using it.
#include "tests/settings/SettingsWindow.h"

namespace velmora::test {
namespace {

using SettingsWindowHarm = SettingsWindow;

TEST_F(SettingsWindowHarm, newSettingsWhileAnAlertIsOpen) {
    VirtualSwitch studio("Studio", 4, 4);
    open("Studio", {{"One", 0, 0}, {"Two", 1, 1}});
    const Outputs others{{"Other", 3, 3}};
    for (const bool byMenu : {false, true}) {
        onAlert = [&] { plugin->setDefaultSettings(settingsWith("Studio", others)); };
        if (byMenu) {
            chooseFromMenu(1, output, "2");
        } else {
            typeLabel(1, "One", Qt::Key_Return);
        }
        EXPECT_EQ(takeAlerts(), Strings{byMenu ? kSameNumber : kSameLabel});
        EXPECT_EQ(outputs(), others);
        ASSERT_TRUE(runMainLoopUntil([this] { return cell(0, output) == "0004 Output 4"; }));
        EXPECT_EQ(table->model()->rowCount(), 1);
        plugin->setDefaultSettings(settingsWith("Studio", {{"One", 0, 0}, {"Two", 1, 1}}));
        ASSERT_TRUE(runMainLoopUntil([this] { return cell(1, output) == "0002 Output 2"; }));
    }
}

TEST_F(SettingsWindowHarm, newSettingsWhileACellIsEditedOrAListIsOpen) {
    VirtualSwitch studio("Studio", 4, 4);
    open("Studio", {{"One", 0, 0}, {"Two", 1, 1}});
    // Another server comes: the entries are the same, and so is what is being typed.
    pressOnCell(1, label, Qt::Key_F2);
    QTest::keyClicks(labelEditor(), "Half");
    auto second = std::make_unique<VirtualSwitch>("Second", 2, 2);
    ASSERT_TRUE(runMainLoopUntil([this] { return chooser->count() == 2; }));
    ASSERT_NE(labelEditor(), nullptr);
    QTest::keyClicks(labelEditor(), "way");
    QTest::keyClick(labelEditor(), Qt::Key_Return);
    ASSERT_TRUE(runMainLoopUntil([this] { return labelEditor() == nullptr; }));
    EXPECT_EQ(outputs()[1].label, "Halfway");
    // Open lists close, and nothing is picked.
    chooser->setFocus();
    QTest::keyClick(chooser, Qt::Key_Down);
    second = nullptr;
    ASSERT_TRUE(runMainLoopUntil([this] { return chooser->count() == 1; }));
    EXPECT_FALSE(chooser->view()->isVisible());
    pressOnCell(1, output, Qt::Key_Return);
    second = std::make_unique<VirtualSwitch>("Second", 2, 2);
    ASSERT_TRUE(runMainLoopUntil([this] { return chooser->count() == 2; }));
    EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
    EXPECT_EQ(selectedName(), "Studio");
    // Other entries: what was being typed is for none of them.
    const Outputs others{{"Other", 2, 2}, {"Another", 3, 3}};
    pressOnCell(1, label, Qt::Key_F2);
    QTest::keyClicks(labelEditor(), "Lost");
    plugin->setDefaultSettings(settingsWith("Studio", others));
    ASSERT_TRUE(runMainLoopUntil([this] { return labelEditor() == nullptr; }));
    EXPECT_EQ(outputs(), others);
    EXPECT_EQ(takeAlerts(0), Strings{});
}

TEST_F(SettingsWindowHarm, thePluginGoesWhileItsViewIsInUse) {
    VirtualSwitch studio("Studio", 4, 4);
    const Outputs full{{"a", 0, 0}, {"b", 1, 0}, {"c", 2, 0}, {"d", 3, 0},
                       {"e", 4, 0}, {"f", 5, 0}, {"g", 6, 0}, {"h", 7, 0}};
    const auto release = [this] { plugin = nullptr; };
    const std::function<void()> uses[] = {
        [&] { onAlert = release, click(add); },
        [&] { onAlert = release, typeLabel(0, "b", Qt::Key_Return); },
        [&] { onAlert = [this] { window = nullptr; }, click(add); },
        [&] { onAlert = [this] { plugin = nullptr, window = nullptr; }, typeLabel(0, "b", Qt::Key_Return); },
        [&] { onNotice = release, clickCell(0, label), click(remove); },
        [&] { pressOnCell(0, label, Qt::Key_F2), QTest::keyClicks(labelEditor(), "x"), release(); },
        [&] { pressOnCell(0, output, Qt::Key_Return), release(); },
        [&] { pressOnCell(0, label, Qt::Key_F2), QTest::keyClicks(labelEditor(), "x"), window = nullptr; },
        [&] { chooser->showPopup(), window = nullptr, release(); },
    };
    for (const auto& use : uses) {
        plugin = std::make_shared<VelmoraSwitchNodePlugin>(NSBundle::bundleWithPath(VELMORA_BUNDLE));
        onNotice = nullptr;
        open("Studio", full);
        const QPointer<QWidget> shown = view;
        use();
        ASSERT_TRUE(runMainLoopUntil([&] { return shown.isNull() && QApplication::activeModalWidget() == nullptr; }));
        EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
        if (plugin != nullptr) {
            EXPECT_EQ(outputs(), full);
            plugin->stop();
        }
    }
}

TEST_F(SettingsWindowHarm, aHostThatDestroysTheViewGetsANewOne) {
    VirtualSwitch studio("Studio", 4, 4);
    open("Studio", {{"One", 0, 0}});
    EXPECT_EQ(plugin->settingsView(), view);
    window = nullptr;
    plugin->setDefaultSettings(settingsWith("Studio", {{"Two", 1, 1}}));
    show();
    EXPECT_EQ(cell(0, label), "Two");
    click(add);
    EXPECT_EQ(outputs().size(), 2U);
}

TEST_F(SettingsWindowHarm, theServerDiesAndComesBack) {
    VirtualSwitch studio("Studio", 4, 4);
    open("Studio", {{"One", 0, 1}});
    ASSERT_TRUE(runMainLoopUntil([this] { return cell(0, defaultInput) == "0002 Input 2"; }));
    studio.server->stop();
    ASSERT_TRUE(runMainLoopUntil([this] { return !plugin->selectedDevice()->isConnected(); }));
    click(refresh);
    EXPECT_EQ(cell(0, defaultInput), "0002 (null)");
    click(add);
    chooseFromMenu(1, defaultInput, "4");
    EXPECT_EQ(outputs()[1], (Output{"Untitled Output", 1, 3}));
    studio.stop();
    studio.start();
    ASSERT_TRUE(runMainLoopUntil([this] { return cell(1, defaultInput) == "0004 Input 4"; }));
}

}  // namespace
}  // namespace velmora::test
