// A person at the settings view: real keys and clicks, looked at through the host protocol afterwards.
#include <QAbstractButton>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QWheelEvent>

#include "tests/settings/SettingsWindow.h"
#include "tests/support/TestProgram.h"

namespace velmora::test {
namespace {

// Calls back at each painting of a widget.
class PaintWatch final : public QObject {
  public:
    PaintWatch(QWidget& widget, std::function<void()> painted) : painted_(std::move(painted)) {
        widget.installEventFilter(this);
    }
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Paint) painted_();
        return false;
    }

  private:
    const std::function<void()> painted_;
};

TEST_F(SettingsWindow, isReachedByNameAndByKeyAddsAndRemovesOutputs) {
    open({{"One", 0, 3}});
    for (const char* outlet : {"matrixSwitcherPopUpButton", "outputsTableView", "addRemoveButton",
                               "outputsPopUpButtonMenu", "inputsPopUpButtonMenu"}) {
        const QWidget* const widget = view->findChild<QWidget*>(outlet);
        ASSERT_NE(widget, nullptr) << outlet;
        EXPECT_FALSE(widget->accessibleName().isEmpty()) << outlet;
    }
    for (const QLabel* text : view->findChildren<QLabel*>()) {
        EXPECT_EQ(text->textFormat(), Qt::PlainText) << text->objectName().toStdString();
    }
    EXPECT_LE(window->minimumSizeHint().width(), 480);
    chooser->setFocus();
    for (QWidget* const next : std::initializer_list<QWidget*>{table, add, refresh}) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        EXPECT_EQ(QApplication::focusWidget(), next);
        EXPECT_FALSE(next->accessibleName().isEmpty());
    }
    click(add);
    EXPECT_EQ(outputs(), (Outputs{{"One", 0, 3}, {"0002 Output 2", 1, 1}}));
    EXPECT_EQ(plugin->displayNameOfAttributeWithName(kTwo), "0002 Output 2");
    EXPECT_EQ(cell(1, output), "0002 Output 2");
    QTest::keyClick(add, Qt::Key_Space);
    EXPECT_EQ(outputs().back(), (Output{"0003 ERROR", 2, 2}));
    EXPECT_EQ(cell(2, output), "0003");
    EXPECT_FALSE(remove->isEnabled());
    clickCell(1, label);
    EXPECT_TRUE(remove->isEnabled());
    const int before = notices;
    bool isPainted = false, wasPainted = false;
    QCursor cursor;
    const PaintWatch watch(*table->viewport(), [&] { isPainted = table->model()->rowCount() == 2; });
    onNotice = [&] { cursor = *QGuiApplication::overrideCursor(), wasPainted = isPainted; };
    QTest::mouseClick(remove, Qt::LeftButton);
    QTest::mouseDClick(remove, Qt::LeftButton);
    onNotice = nullptr;
    EXPECT_TRUE(wasPainted && cursor.shape() == Qt::WaitCursor) << "before the plugin asks for labels";
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
    EXPECT_EQ(outputs(), (Outputs{{"One", 0, 3}, {"0003 ERROR", 2, 2}}));
    EXPECT_EQ(*plugin->attributeNames(), (Strings{kOne, "Velmora Switch Output 3"}));
    EXPECT_EQ(notices, before + 1) << "a double click removes one";
    // The entry that moved up is next; once none is left, the next key does not add one.
    for (const Outputs& left : {Outputs{{"One", 0, 3}}, Outputs{}}) {
        QTest::keyClick(remove, Qt::Key_Space);
        EXPECT_EQ(outputs(), left);
        EXPECT_EQ(remove->isEnabled(), !left.empty());
    }
    EXPECT_TRUE(table->hasFocus());
}

TEST_F(SettingsWindow, renamesButNotToALabelThatIsTaken) {
    open({{"One", 0, 0}, {"Two", 1, 1}});
    const int before = notices;
    const auto type = [this](const char* text, Qt::Key last, const char* after, const Strings& refusal = {}) {
        typeLabel(1, text, last);
        EXPECT_EQ(takeAlerts(refusal.size()), refusal) << text;
        EXPECT_EQ(outputs()[1], (Output{after, 1, 1})) << text;
        EXPECT_EQ(cell(1, label), after);
    };
    type("Zwei", Qt::Key_Return, "Zwei");
    type("Drei", Qt::Key_Tab, "Drei");
    type("Vier", Qt::Key_Escape, "Drei");
    onAlert = [this] { EXPECT_EQ(cell(1, label), "One"); };  // the old one comes back after the alert
    type("One", Qt::Key_Return, "Drei", {kSameLabel});
    // Confirmed on purpose, its own label is taken, too; left without a change, it is not.
    type("", Qt::Key_Return, "Drei", {kSameLabel});
    type("", Qt::Key_Tab, "Drei");
    EXPECT_EQ(plugin->displayNameOfAttributeWithName(kTwo), "Two");
    EXPECT_EQ(notices, before);
    // A label that is half typed when a button is clicked counts.
    beginLabel(0, "Eins");
    click(add);
    EXPECT_EQ(outputs()[0].label, "Eins");
    EXPECT_EQ(outputs().size(), 3U);
    // One that is refused is complained of before the button acts.
    beginLabel(0, "Drei");
    onAlert = [this] { EXPECT_EQ(outputs().size(), 3U); };
    click(add);
    EXPECT_EQ(takeAlerts(), Strings{kSameLabel});
    EXPECT_EQ(outputs().size(), 4U);
}

TEST_F(SettingsWindow, renumbersAndRoutesFromMenusThatCanBeTypedInto) {
    VirtualSwitch large("Large", 1152, 1152);
    ASSERT_TRUE(large.matrix.apply({{"Camera 1153", "<i>Slow</i> & co"}, {}, {}}));
    open({{"One", 0, 1}, {"Two", 1, 4000}, {"Far", 4999, 0}}, "Large");
    EXPECT_EQ(cell(0, defaultInput), "0002 <i>Slow</i> & co");
    EXPECT_EQ(index(0, defaultInput).data(Qt::ToolTipRole).toString(), "<p>0002 &lt;i&gt;Slow&lt;/i&gt; &amp; co</p>");
    const auto choose = [this](Column column, const char* text, Qt::Key last, std::int32_t number, std::int32_t input,
                               const Strings& refusal = {}) {
        chooseFromMenu(0, column, text, last);
        EXPECT_EQ(takeAlerts(refusal.size()), refusal) << text;
        EXPECT_EQ(outputs()[0], (Output{"One", number, input})) << text;
    };
    choose(defaultInput, "slow", Qt::Key_Return, 0, 1);
    choose(output, "1000 put", Qt::Key_Return, 999, 1);
    // What is no input is not the one that has it in its label.
    pressOnCell(0, defaultInput, Qt::Key_Return);
    const auto* const remark = QApplication::activePopupWidget()->findChild<QLabel*>("remark");
    for (const auto& [typed, words] :
         {std::pair{"1153", "There is no 1153."}, {" cam 9", "Nothing here contains \"1153 cam 9\"."}}) {
        QTest::keyClicks(menuField(), typed);
        QTest::keyClick(menuField(), Qt::Key_Return);
        ASSERT_NE(menuField(), nullptr) << "chosen: " << outputs()[0].defaultInput;
        EXPECT_EQ(remark->text(), words);
    }
    QTest::keyClick(menuField(), Qt::Key_Escape);
    choose(defaultInput, "7", Qt::Key_Return, 999, 6);  // the seventh, not the one with a 7 in its label
    choose(output, "1000", Qt::Key_Return, 999, 6, {kSameNumber});
    onAlert = [this] { EXPECT_EQ(cell(0, output), "0002 Output 2"); };
    choose(output, "2", Qt::Key_Return, 999, 6, {kSameNumber});
    choose(output, "3", Qt::Key_Escape, 999, 6);
    // Numbers beyond the menus stay.
    chooseFromMenu(1, defaultInput, "", Qt::Key_Return);
    chooseFromMenu(2, output, "", Qt::Key_Tab);
    EXPECT_EQ(outputs()[1], (Output{"Two", 1, 4000}));
    EXPECT_EQ(outputs()[2], (Output{"Far", 4999, 0}));
    EXPECT_EQ(cell(0, defaultInput), "0007 Input 7");
    EXPECT_EQ(cell(1, defaultInput), "4001");
    EXPECT_EQ(cell(2, output), "5000");
    // By mouse: the arrow opens, a click chooses.
    const QRect place = table->visualRect(index(1, output));
    QTest::mouseClick(table->viewport(), Qt::LeftButton, {}, QPoint(place.right() - 4, place.center().y()));
    ASSERT_NE(menuField(), nullptr);
    auto* const list = QApplication::activePopupWidget()->findChild<QAbstractItemView*>();
    EXPECT_EQ(list->currentIndex().row(), 1);
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualRect(list->model()->index(3, 0)).center());
    EXPECT_EQ(outputs()[1].number, 3);
}

TEST_F(SettingsWindow, picksAServerOnlyFromItsList) {
    VirtualSwitch first("A & <b>one</b>", 2, 2);
    open({{"One", 0, 0}}, "A & <b>one</b>", [this] { return available() == 2 && plugin->selectedDevice() != nullptr; });
    EXPECT_EQ(chooser->currentText(), "A & <b>one</b>");
    EXPECT_FALSE(chooser->toolTip().contains("<b>"));
    QWheelEvent wheel(QPointF(5, 5), chooser->mapToGlobal(QPointF(5, 5)), {}, {0, -120}, {}, {}, Qt::NoScrollPhase,
                      false);
    QApplication::sendEvent(chooser, &wheel);
    chooser->setFocus();
    for (const Qt::KeyboardModifier command : {Qt::AltModifier, Qt::ControlModifier}) {
        QTest::keyClick(chooser, Qt::Key_S, command);
    }
    for (const char* const chosen : {"A & <b>one</b>", "Studio"}) {  // at last what is chosen already
        openChooser();
        EXPECT_EQ(selectedName(), chosen);
        const int before = notices;
        pick("Studio");
        EXPECT_EQ(selectedName(), "Studio");
        EXPECT_GT(notices, before);
        ASSERT_TRUE(runMainLoopUntil([&] { return studio.server->clients() == 1 && first.server->clients() == 0; }));
    }
}

TEST_F(SettingsWindow, sortsTheSettingsThemselvesAndKeepsTheSelectedEntry) {
    const Output a{"a", 2, 0}, b{"B", 0, 3}, c{"c", 1, 0};
    open({c, a, b});
    const int before = notices;
    clickCell(0, label);
    const auto clickHeader = [&](Column column) {
        QTest::mouseClick(table->horizontalHeader()->viewport(), Qt::LeftButton, {},
                          QPoint(table->horizontalHeader()->sectionViewportPosition(column) + 20, 5));
    };
    clickHeader(label);
    EXPECT_EQ(outputs(), (Outputs{a, b, c}));
    EXPECT_EQ(table->currentIndex().row(), 2);
    clickHeader(label);
    EXPECT_EQ(outputs(), (Outputs{c, b, a}));
    clickHeader(defaultInput);  // what was sorted by before decides among equals
    EXPECT_EQ(outputs(), (Outputs{c, a, b}));
    table->setFocus();
    QContextMenuEvent menuKey(QContextMenuEvent::Keyboard, {5, 5}, table->mapToGlobal(QPoint(5, 5)));
    QApplication::sendEvent(table->viewport(), &menuKey);
    QMenu* const menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_NE(menu, nullptr);
    for (const Qt::Key key : {Qt::Key_Down, Qt::Key_Down, Qt::Key_Return}) {
        QTest::keyClick(menu, key);
    }
    EXPECT_EQ(outputs(), (Outputs{b, c, a}));
    EXPECT_EQ(notices, before);
    click(remove);
    EXPECT_EQ(outputs(), (Outputs{b, a}));
    EXPECT_EQ(table->currentIndex().row(), 1);
}

TEST_F(SettingsWindow, showsWholeLabelsAndRefreshesThem) {
    open({{"Control \x01 \xE2\x80\xAE", 0, 1}, {std::string(40'000, 'x'), 1, 1}});
    pressOnCell(1, label, Qt::Key_F2);
    ASSERT_NE(labelEditor(), nullptr);
    EXPECT_EQ(labelEditor()->text().size(), 40'000);
    EXPECT_EQ(cell(0, label), "Control \\x01 \\u{202E}");
    ASSERT_TRUE(studio.matrix.apply({{"North", "South"}, {}, {}}));
    EXPECT_EQ(cell(0, defaultInput), "0002 Input 2");
    QTest::keyClick(view, Qt::Key_L, Qt::AltModifier);
    EXPECT_TRUE(shows(0, defaultInput, "0002 South"));
}

TEST_F(SettingsWindow, saysThatTheChosenServerIsNotThere) {
    open({{"One", 0, 0}}, "Gone <u>x</u>", [this] { return available() == 1; });
    const QWidget* const notice = view->findChild<QWidget*>("noticeLabel");
    EXPECT_EQ(chooser->currentIndex(), -1);
    EXPECT_EQ(chooser->placeholderText(), "Gone <u>x</u> (not available)");
    EXPECT_EQ(cell(0, label), "");
    EXPECT_TRUE(notice->isVisible());
    pressOnCell(0, label, Qt::Key_F2);
    pressOnCell(0, output, Qt::Key_Return);
    EXPECT_EQ(labelEditor(), nullptr);
    EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
    EXPECT_EQ(selectedName(), "Gone <u>x</u>");
    openChooser(Qt::Key_Space);
    pick("Studio");
    EXPECT_EQ(selectedName(), "Studio");
    EXPECT_FALSE(notice->isVisible());
    EXPECT_EQ(cell(0, label), "One");
    ASSERT_TRUE(shows(0, output, "0001 Output 1"));
}

// Interruptions of a person who is using the view.
using SettingsWindowHarm = SettingsWindow;

TEST_F(SettingsWindowHarm, newSettingsWhileAnAlertIsOpen) {
    const Outputs ours{{"One", 0, 0}, {"Two", 1, 1}}, others{{"Other", 1, 1}};
    open(ours);
    onAlert = [&] { plugin->setDefaultSettings(settingsWith("Studio", others)); };
    typeLabel(1, "One", Qt::Key_Return);
    EXPECT_EQ(takeAlerts(), Strings{kSameLabel});
    EXPECT_EQ(outputs(), others);
    ASSERT_TRUE(shows(0, output, "0002 Output 2"));
    EXPECT_EQ(table->model()->rowCount(), 1);
    onAlert = [&] { plugin->setDefaultSettings(settingsWith("Studio", ours)); };
    chooseFromMenu(0, output, "2");
    EXPECT_EQ(takeAlerts(), Strings{kSameNumber});
    EXPECT_EQ(outputs(), ours);
}

TEST_F(SettingsWindowHarm, newSettingsWhileACellIsEditedOrAListIsOpen) {
    open({{"One", 0, 0}, {"Two", 1, 1}});
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
        open(kFull);
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

int main(int argc, char** argv) {
    return velmora::test::runTests<QApplication>(argc, argv);
}
