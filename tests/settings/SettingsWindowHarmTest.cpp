// Interruptions of a person who is using the settings view.
#include "tests/settings/SettingsWindow.h"

namespace velmora::test {
namespace {

using SettingsWindowHarm = SettingsWindow;

TEST_F(SettingsWindowHarm, newSettingsWhileAnAlertIsOpen) {
    VirtualSwitch studio("Studio", 4, 4);
    const Outputs ours{{"One", 0, 0}, {"Two", 1, 1}}, others{{"Other", 3, 3}};
    open("Studio", ours);
    onAlert = [&] { plugin->setDefaultSettings(settingsWith("Studio", others)); };
    typeLabel(1, "One", Qt::Key_Return);
    EXPECT_EQ(takeAlerts(), Strings{kSameLabel});
    EXPECT_EQ(outputs(), others);
    ASSERT_TRUE(shows(0, output, "0004 Output 4"));
    EXPECT_EQ(table->model()->rowCount(), 1);
    onAlert = [&] { plugin->setDefaultSettings(settingsWith("Studio", ours)); };
    chooseFromMenu(0, output, "4");
    EXPECT_EQ(takeAlerts(), Strings{kSameNumber});
    EXPECT_EQ(outputs(), ours);
}

TEST_F(SettingsWindowHarm, newSettingsWhileACellIsEditedOrAListIsOpen) {
    VirtualSwitch studio("Studio", 4, 4);
    open("Studio", {{"One", 0, 0}, {"Two", 1, 1}});
    // Another server comes: the entries are the same, and so is what is being typed.
    beginLabel(1, "Half");
    const VirtualSwitch second("Second", 2, 2);
    ASSERT_TRUE(runMainLoopUntil([this] { return chooser->count() == 2; }));
    ASSERT_NE(labelEditor(), nullptr);
    QTest::keyClicks(labelEditor(), "way");
    QTest::keyClick(labelEditor(), Qt::Key_Return);
    ASSERT_TRUE(shows(1, label, "Halfway"));
    // Open lists close, and nothing is picked.
    openChooser();
    const VirtualSwitch third("Third", 2, 2);
    ASSERT_TRUE(runMainLoopUntil([this] { return chooser->count() == 3; }));
    EXPECT_FALSE(chooser->view()->isVisible());
    pressOnCell(1, output, Qt::Key_Return);
    const VirtualSwitch fourth("Fourth", 2, 2);
    ASSERT_TRUE(runMainLoopUntil([this] { return chooser->count() == 4; }));
    EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
    EXPECT_EQ(selectedName(), "Studio");
    // Other entries: what was being typed is for none of them.
    const Outputs others{{"Other", 2, 2}, {"Another", 3, 3}};
    beginLabel(1, "Lost");
    plugin->setDefaultSettings(settingsWith("Studio", others));
    ASSERT_TRUE(runMainLoopUntil([this] { return labelEditor() == nullptr; }));
    EXPECT_EQ(outputs(), others);
    EXPECT_EQ(takeAlerts(0), Strings{});
}

TEST_F(SettingsWindowHarm, thePluginGoesWhileItsViewIsInUse) {
    VirtualSwitch studio("Studio", 4, 4);
    const auto release = [this] { plugin = nullptr; };
    const auto destroy = [this] { window = nullptr; };
    const std::function<void()> uses[] = {
        [&] { onAlert = release, click(add); },
        [&] { onAlert = release, typeLabel(0, "b", Qt::Key_Return); },
        [&] { onAlert = destroy, click(add); },
        [&] { onAlert = release, beginLabel(0, "b"), click(add); },
        [&] { onAlert = destroy, beginLabel(0, "b"), click(add); },
        [&] { onAlert = [&] { release(), destroy(); }, typeLabel(0, "b", Qt::Key_Return); },
        [&] { onNotice = destroy, click(add); },
        [&] { onNotice = release, clickCell(0, label), click(remove); },
        [&] { onNotice = destroy, openChooser(), pick("Studio"); },
        [&] { beginLabel(0, "x"), release(); },
        [&] { pressOnCell(0, output, Qt::Key_Return), release(); },
        [&] { beginLabel(0, "x"), destroy(); },
        [&] { chooser->showPopup(), destroy(), release(); },
    };
    for (const auto& use : uses) {
        usePlugin();
        onNotice = nullptr;
        open("Studio", kFull);
        const QPointer<QWidget> shown = view;
        QTimer::singleShot(0, use);  // as a person does: from the event loop
        ASSERT_TRUE(runMainLoopUntil([&] { return shown.isNull(); }));
        EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
        EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
        if (plugin == nullptr) continue;
        // The host has destroyed its window: it gets a new view.
        onNotice = nullptr;
        plugin->setDefaultSettings(settingsWith("Studio", {{"One", 0, 0}}));
        show();
        click(add);
        EXPECT_EQ(outputs().size(), 2U);
        EXPECT_EQ(cell(1, output).substr(0, 4), "0002");
        plugin->stop();
    }
}

}  // namespace
}  // namespace velmora::test
