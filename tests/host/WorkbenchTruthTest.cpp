// The workbench: that it says what is, and lets nothing happen by mistake.
#include <QCheckBox>
#include <QDeadlineTimer>
#include <QRadioButton>
#include <QThread>

#include "host/workbench/Edits.h"
#include "host/workbench/RouteHistory.h"
#include "platform/widgets/Colours.h"
#include "platform/widgets/DisplayText.h"
#include "tests/host/WorkbenchFixture.h"

namespace velmora::test {

TEST_F(Workbench, asksBeforeItRoutesDefaultsAndDisarms) {
    const auto isShown = [&](const char* of) { return window->findChild<QWidget*>(of)->isVisible(); };
    EXPECT_FALSE(isShown("armedBanner"));
    choose("stopAction");
    answer(QMessageBox::Yes);
    choose("startWithDefaultsAction");
    ASSERT_TRUE(currentComesTo(1, "0003 Input 3") && isShown("armedBanner"));
    EXPECT_FALSE(window->findChild<QWidget*>("matrixSwitcherPopUpButton")->isEnabled())
        << "to pick a server connects, too";
    EXPECT_NE(text("armedLabel").find("routes all 2 destinations to their defaults"), std::string::npos);
    ASSERT_TRUE(switcher.matrix.route(2, 9));
    for (const char* const action : {"reconnectAction", "loadAction"}) {
        answer(QMessageBox::Cancel);
        choose(action);
    }
    EXPECT_EQ(switcher.matrix.routedInput(2), 9) << "nothing was done";
    answer(QMessageBox::Yes);
    click("armedButton");
    EXPECT_FALSE(isShown("armedBanner"));
    ASSERT_TRUE(comesTo(kConnected));
    choose("reconnectAction");  // without a question
    ASSERT_TRUE(comesTo(kConnected) && currentComesTo(1, "0009 Input 9"));
}

TEST_F(Workbench, saysThatEditsAreNotAppliedAndAppliesThem) {
    const auto* const banner = window->findChild<QWidget*>("editedBanner");
    EXPECT_TRUE(currentComesTo(1, "0002 Input 2") && !banner->isVisible());
    firstOutput()->insert_or_assign("outputNumber", 5);
    EXPECT_TRUE(runMainLoopUntil([&] { return banner->isVisible(); }));
    EXPECT_EQ(
        text("editedLabel"),
        "EDITED, NOT APPLIED: \"Monitor\" is output 6 in the settings, but its attribute still routes output 1 (2 "
        "outputs in all).");
    EXPECT_EQ(cell(0, AttributesModel::displayNameColumn), "Monitor  \u270E");
    click("editedButton");
    EXPECT_TRUE(comesTo(kConnected) && runMainLoopUntil([&] { return !banner->isVisible(); }));
    EXPECT_EQ(cell(1, AttributesModel::nameColumn), "Velmora Switch Output 6");

    const ConfiguredOutputs built{{0, {"A", 0}}, {1, {"B", 1}}};
    EXPECT_EQ(editsBetween(built, built).count, 0U);
    for (const auto& [now, words] : std::vector<std::pair<ConfiguredOutputs, const char*>>{
             {{{0, {"A", 0}}}, "output 2 is no longer in the settings"},
             {{{0, {"A", 0}}, {1, {"B", 1}}, {2, {"C", 0}}},
              "output 3 (\"C\") is in the settings, but no attribute yet"},
             {{{0, {"A", 0}}, {1, {"C", 1}}},
              "output 2 is called \"C\" in the settings, but its attribute still \"B\""},
             {{{0, {"A", 7}}, {1, {"B", 1}}}, "\"A\" has the default input 8 in the settings"}}) {
        const Edits edits = editsBetween(built, now);
        EXPECT_TRUE(edits.count == 1 && edits.example.startsWith(words)) << edits.example.toStdString();
    }
}

TEST_F(Workbench, discardsWhatWasDoneWhileItStoodStill) {
    auto* const add = window->findChild<QPushButton*>("addSegment");
    ASSERT_TRUE(canAct());
    const auto standStill = [](QDeadlineTimer end) {
        while (!end.hasExpired()) {
            QThread::yieldCurrentThread();
        }
    };
    const std::string before = text("standstillLabel");
    standStill(QDeadlineTimer(700));
    QTest::mouseClick(add, Qt::LeftButton);  // handed on now, made before
    QTest::keyClick(add, Qt::Key_Space);
    EXPECT_EQ(window->session().attributes().rowCount(), 2);
    standStill(QDeadlineTimer(600));
    EXPECT_TRUE(runMainLoopUntil([&] { return text("standstillLabel") != before; }));
    EXPECT_NE(text("standstillLabel").find("The window stood still"), std::string::npos);
    click("addSegment");
    EXPECT_EQ(window->session().attributes().rowCount(), 3);
}

TEST_F(Workbench, tellsWhoChangedARouteAndWhen) {
    auto* const history = window->findChild<QTableView*>("historyTable")->model();
    const auto entry = [&](int row) {
        std::string all;
        for (int column = RouteHistory::destinationColumn; column < RouteHistory::columnTotal; ++column) {
            all += '|' + history->index(row, column).data().toString().toStdString();
        }
        return all;
    };
    typeValue("11", Qt::Key_Return);
    ASSERT_TRUE(runMainLoopUntil([&] { return history->rowCount() == 1; }));
    EXPECT_EQ(entry(0), "|<b>Preview</b>|0002 Input 2|0011 Input 11|by us");
    EXPECT_TRUE(text("ageLabel").starts_with("values read "));
    choose("pollAction");
    ASSERT_TRUE(switcher.matrix.route(2, 7));
    ASSERT_TRUE(runMainLoopUntil([&] { return history->rowCount() == 2; }));
    EXPECT_EQ(entry(0), "|<b>Preview</b>|0011 Input 11|0007 Input 7|by others");
    EXPECT_EQ(window->session().previousValue("Velmora Switch Output 2"), "0011 Input 11");
    window->session().setLater("Velmora Switch Output 2", "none such");
    ASSERT_TRUE(runMainLoopUntil([&] { return history->rowCount() == 3; }));
    EXPECT_NE(entry(0).find("|failed"), std::string::npos);
    EXPECT_NE(text("outcomeLabel").find("Did not set"), std::string::npos);
    switcher.server = nullptr;
    EXPECT_TRUE(runMainLoopUntil(
        [&] { return text("lampLabel") == "LOST" && text("ageLabel").starts_with("values last read "); }));
    EXPECT_EQ(text("outcomeLabel"), "") << "it spoke of a connection that has gone";

    RouteHistory strange([](const std::string&) { return "=cmd()"; });
    strange.routeChanged({"name", "-1", "say \"hi\"", false, {}});
    const std::string csv = strange.commaSeparatedValues();
    EXPECT_NE(csv.find(",\"'=cmd()\",\"'-1\",\"say \"\"hi\"\"\",\"by others\"\r\n"), std::string::npos) << csv;
}

TEST_F(Workbench, tellsTheAgeOfWhatIsSeenAndAllStandstills) {
    WorkbenchSession& session = window->session();
    EXPECT_TRUE(currentComesTo(1, "0002 Input 2"));
    const QString first = session.age();
    std::deque<std::string> seen{"Velmora Switch Output 1"};
    session.setSeen([&seen] { return seen; });
    choose("pollAction");
    EXPECT_TRUE(runMainLoopUntil([&] { return session.age() != first; }));
    seen.push_back("Velmora Switch Output 2");
    EXPECT_EQ(session.age(), first) << "it was not read when the other was";
    session.setSeen(nullptr);

    StandstillTally tally;
    const Date start{};
    const auto add = [&](std::chrono::seconds end, bool areLabelsRead) {
        if (areLabelsRead) tally.labelsWereRead(start + end);
        tally.standstillHasEnded(start + end, std::chrono::seconds(2));
        return tally.text().section("  ", 1).toStdString() + tally.costOfConnecting().toStdString();
    };
    const std::string rest = " Clicks and keys of that time were discarded.";
    using namespace std::chrono_literals;
    EXPECT_EQ(add(10s, false), "The window stood still for 2.0 s." + rest) << "there was no last time";
    EXPECT_EQ(add(100s, true), "The window stood still for 2.0 s while the plugin read its labels." + rest +
                                   "Reading the labels took 2.0 s last time.");
    EXPECT_EQ(add(103s, true), "The window stood still 2 times, for 4.0 s in all, while the plugin read its labels." +
                                   rest + "Reading the labels took 4.0 s last time.");
}

TEST_F(Workbench, isReadableOnLightAndDark) {
    QPalette light, dark;
    for (const auto& [palette, text, ground] : {std::tuple{&light, Qt::black, Qt::white},
                                                {&dark, Qt::white, Qt::black},
                                                {&dark, Qt::lightGray, Qt::darkGray}}) {
        for (const auto role : {QPalette::Text, QPalette::WindowText}) {
            palette->setColor(role, text);
        }
        for (const auto role : {QPalette::Base, QPalette::Window}) {
            palette->setColor(role, ground);
        }
        const double most = std::min(kReadableContrast, contrastBetween(text, ground));
        EXPECT_GE(contrastBetween(dimmedText(*palette), ground), most);
        if (most < kReadableContrast) continue;
        EXPECT_GE(contrastBetween(frameColour(*palette), ground), kVisibleContrast);
        QRadioButton radio;
        QCheckBox box;
        for (QAbstractButton* const button : std::initializer_list<QAbstractButton*>{&radio, &box}) {
            button->setPalette(*palette);
            showFrame(*button);
            QImage image(20, 20, QImage::Format_RGB32);
            image.fill(ground);
            button->render(&image, {}, {}, QWidget::DrawChildren);
            double contrast = 0;
            for (int x = 0; x < image.width(); ++x) {
                contrast =
                    std::max(contrast, contrastBetween(image.pixelColor(x, button->sizeHint().height() / 2), ground));
            }
            EXPECT_GE(contrast, kVisibleContrast);
        }
    }
    EXPECT_NE(dimmedText(light), QColor(Qt::black));
    for (const Signal& signal : {kGoodSignal, kWaitingSignal, kBadSignal, kOffSignal}) {
        EXPECT_GE(contrastBetween(signal.ground, signal.text), kReadableContrast);
    }
    EXPECT_NEAR(contrastBetween(Qt::white, Qt::black), 21, 0.01);
    EXPECT_EQ(displayText("\u0645\u06CC\u200C\u062E \U0001F468\u200D\U0001F469"),
              "\u0645\u06CC\u200C\u062E \U0001F468\u200D\U0001F469");
    const std::string flag = "\U0001F3F4\U000E0067\U000E0062\U000E007F";
    EXPECT_EQ(displayText(flag).toStdString(), flag);
    EXPECT_EQ(displayText("a\u200Db \u202E\u200B \U0001F3F4\U000E0067"),
              "a\\u{200D}b \\u{202E}\\u{200B} \U0001F3F4\\u{E0067}");

    const QSize narrow(480, 700);
    window->resize(narrow);  // in one step, and everything has room
    EXPECT_EQ(window->size(), narrow);
    auto* const views = window->findChild<QTabWidget*>("views");
    for (int view = 0; view < views->count(); ++view) {
        views->setCurrentIndex(view);
        runMainLoopOnce();
        for (const auto* const button : window->findChildren<QAbstractButton*>()) {
            const int right = button->mapTo(window.get(), button->rect().topRight()).x();
            EXPECT_TRUE(!button->isVisible() || right < narrow.width()) << button->text().toStdString() << right;
        }
    }
    const auto arrangement = window->arrangement();
    window->resize(600, 500);
    window->arrange(arrangement);
    EXPECT_EQ(window->size(), narrow);
    window->arrange(nullptr);
}

}  // namespace velmora::test
