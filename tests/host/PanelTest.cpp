// The panel: clicks and keys on its tiles and its bar, with a real matrix behind them.
#include <QAbstractItemModelTester>

#include "host/workbench/panel/FindWords.h"
#include "host/workbench/panel/Tints.h"
#include "tests/host/RoutingFixture.h"

namespace velmora::test {

namespace {

class Panel : public RoutingFixture {
  protected:
    Panel() : RoutingFixture("Panel") {}

    QModelIndex tile(const char* list, int number) const {
        const auto* const model = visible<QListView>(list)->model();
        for (int row = 0; row < model->rowCount(); ++row) {
            if (model->index(row, 0).data(AttributesModel::numberRole) == QVariant(number)) return model->index(row, 0);
        }
        return {};
    }
    void choose(const char* list, int number) const {
        auto* const view = visible<QListView>(list);
        view->scrollTo(tile(list, number));
        clickAt(view->viewport(), view->visualRect(tile(list, number)).center());
    }
    void type(const char* list, const char* typed) const {
        EXPECT_TRUE(runMainLoopUntil([&] { return session().mayAct(); }));
        QWidget* const field = visible<QListView>(list)->parentWidget()->findChild<QLineEdit*>();
        QTest::keyClicks(field, typed);
        QTest::keyClick(field, Qt::Key_Return);
    }
    int marks(const char* of) const {
        const AttributesModel& attributes = session().attributes();
        const auto found = attributes.match(attributes.index(0, 0), AttributesModel::labelRole, of);
        return found.value(0).data(AttributesModel::marksRole).toInt();
    }
};

}  // namespace

TEST_F(Panel, routesByClicksDigitsAndTake) {
    const auto* const destinations = visible<QListView>("destinationList")->model();
    EXPECT_EQ(destinations->index(0, 0).data(AttributesModel::labelRole), QVariant("Programme")) << "by number";
    EXPECT_EQ(destinations->index(3, 0).data(AttributesModel::sourceLabelRole), QVariant("not known"));
    const QAbstractItemModelTester tester(visible<QListView>("sourceList")->model());
    choose("destinationList", 2);
    choose("sourceList", 5);
    EXPECT_TRUE(comesTo(2, 5)) << outcome();
    EXPECT_EQ(marks("Preview"), 0) << "it has its default now";
    choose("sourceList", 6);
    EXPECT_TRUE(comesTo(2, 6)) << "both panes stay";
    EXPECT_EQ(marks("Preview"), AttributesModel::differsFromDefault);

    type("sourceList", "20");
    EXPECT_TRUE(outcome().starts_with("Set ") && switcher.matrix.routedInput(2) == 6)
        << "no input has this number, though a label has";
    type("sourceList", "\x1B");
    type("sourceList", "7");
    EXPECT_TRUE(comesTo(2, 7));
    type("sourceList", "20 camera");
    EXPECT_TRUE(comesTo(2, 2)) << "words in any order";
    type("sourceList", "camera");
    EXPECT_EQ(visible<QListView>("sourceList")->currentIndex(), QModelIndex()) << "which of the two?";
    type("sourceList", "\x1B");

    auto* const sources = visible<QListView>("sourceList");
    QTest::keyClicks(sources->parentWidget()->findChild<QLineEdit*>(), "camera");
    choose("sourceList", 1);
    EXPECT_TRUE(comesTo(2, 1) && sources->model()->rowCount() == 2) << "a double click meets the same tile twice";
    type("sourceList", "2");
    EXPECT_TRUE(comesTo(2, 2));

    press("presetButton");
    choose("sourceList", 9);
    choose("sourceList", 8);
    EXPECT_EQ(switcher.matrix.routedInput(2), 2);
    QTest::keyClick(window.get(), Qt::Key_F12);
    EXPECT_TRUE(comesTo(2, 8));
    EXPECT_TRUE(visible<QPushButton>("previousButton")->toolTip().contains("Camera 20")) << "9 was never taken";
    choose("sourceList", 9);
    visible<QWidget>("takeButton")->setFocus();
    for (int press = 0; press < 2; ++press) {
        QTest::keyClick(window->focusWidget(), Qt::Key_Space);
        EXPECT_TRUE(comesTo(2, 9));
    }
    EXPECT_NE(window->focusWidget(), visible<QWidget>("previousButton")) << "the next Space would take it back";
    choose("sourceList", 10);
    choose("destinationList", 1);
    EXPECT_FALSE(visible<QPushButton>("takeButton")->isEnabled()) << "it was meant for another destination";
}

TEST_F(Panel, locksExchangesAndGoesBack) {
    choose("destinationList", 2);
    press("lockButton");
    choose("sourceList", 5);
    EXPECT_TRUE(outcome().ends_with("it is locked in this window; other panels can still route.")) << outcome();
    press("exchangeButton");
    choose("destinationList", 1);
    EXPECT_TRUE(outcome().starts_with("Did not exchange 2 Preview and 1 Programme: 2 Preview is locked")) << outcome();
    press("exchangeButton");
    QTest::keyClick(window.get(), Qt::Key_Escape);
    EXPECT_FALSE(visible<QPushButton>("exchangeButton")->isChecked());
    EXPECT_TRUE(visible<QPushButton>("allDefaultsButton")->isEnabled());
    session().stop();
    EXPECT_FALSE(visible<QPushButton>("allDefaultsButton")->isEnabled()) << "nothing to set";
    EXPECT_TRUE(session().start(false) && comesUp());
    choose("destinationList", 2);
    EXPECT_TRUE(visible<QPushButton>("lockButton")->isChecked()) << "a lock outlives a restart";
    press("lockButton");

    // What is on air counts, not what the window saw last.
    ASSERT_TRUE(switcher.matrix.route(1, 7));
    press("exchangeButton");
    choose("destinationList", 1);
    EXPECT_TRUE(comesTo(1, 2) && comesTo(2, 7)) << outcome();
    press("previousButton");
    EXPECT_TRUE(comesTo(2, 2));
    press("defaultButton");
    EXPECT_TRUE(comesTo(2, 5));
    EXPECT_EQ(switcher.matrix.routedInput(1), 2) << "only the default of this one";
    for (const auto answer : {QMessageBox::Cancel, QMessageBox::Yes}) {
        QTimer::singleShot(0, window.get(), [answer] {
            auto* const question = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            ASSERT_NE(question, nullptr);
            EXPECT_TRUE(question->text().startsWith("Route 4 destinations")) << question->text().toStdString();
            question->button(answer)->click();
        });
        press("allDefaultsButton");
        EXPECT_EQ(switcher.matrix.routedInput(1), 2) << "later, if at all";
    }
    EXPECT_TRUE(runMainLoopUntil(
        [&] { return switcher.matrix.routedInput(1) == 1 && (marks("Stray") & AttributesModel::failed); }));
    ASSERT_TRUE(switcher.matrix.route(1, 16));
    session().refresh();
    EXPECT_TRUE(runMainLoopUntil([&] { return marks("Programme") & AttributesModel::changedElsewhere; }));
    EXPECT_TRUE(runMainLoopUntil([&] { return !(marks("Programme") & AttributesModel::changedElsewhere); })) << "once";
}

TEST_F(Panel, staysAsItIsWhenThereIsSomethingToSay) {
    const auto places = [this] {
        std::vector<QRect> rects;
        for (const char* const of : {"destinationList", "sourceList", "takeButton", "historyPane"}) {
            const auto* const widget = visible<QWidget>(of);
            rects.emplace_back(widget->mapTo(window.get(), QPoint()), widget->size());
        }
        return rects;
    };
    choose("destinationList", 2);
    const auto before = places();
    session().setOutcome(QString("What came of it. ").repeated(40));
    type("sourceList", "nobody");
    const auto settings = session().settings();
    valueForKey(settings, "configuredOutputs")->array()->front().dictionary()->insert_or_assign("label", "Renamed");
    EXPECT_TRUE(runMainLoopUntil([&] { return window->findChild<QWidget*>("editedBanner")->isVisible(); }));
    EXPECT_EQ(places(), before);
    type("sourceList", "\x1B");
    press("exchangeButton");
    switcher.server = nullptr;
    EXPECT_TRUE(runMainLoopUntil([&] { return !visible<QWidget>("lockButton")->isEnabled(); }));
    EXPECT_EQ(visible<QWidget>("lockButton")->toolTip(), "There is no connection.");
    EXPECT_TRUE(runMainLoopUntil([&] { return !visible<QPushButton>("exchangeButton")->isChecked(); }))
        << "what comes back may be another matrix";
    for (const char* const button : {"exchangeButton", "takeButton", "refreshButton"}) {
        EXPECT_TRUE(runMainLoopUntil([&] { return !visible<QWidget>(button)->isEnabled(); })) << button;
    }
    const QString notice = session().lastNotice();
    switcher.stop();  // withdrawn, so the plugin builds its attributes without labels
    EXPECT_TRUE(runMainLoopUntil([&] { return session().lastNotice() != notice; }));
    EXPECT_EQ(tile("sourceList", 2).data(AttributesModel::labelRole), QVariant("Camera 20")) << "the last known label";
    EXPECT_EQ(places(), before);
}

TEST_F(Panel, showsWhatIsWhenThePluginBuildsAnew) {
    choose("destinationList", 1);
    const auto label = [this](int input) { return tile("sourceList", input).data(AttributesModel::labelRole); };
    const QSize size = visible<QListView>("sourceList")->gridSize();
    MatrixContents labels;
    const std::string longer = "Outside broadcast, second camera";
    labels.inputLabels = {"Weather", longer};
    EXPECT_TRUE(switcher.matrix.apply(labels));
    const VirtualSwitch second(name + " two", 2, 2);  // each server that appears makes the plugin build its attributes
    EXPECT_TRUE(runMainLoopUntil([&] { return label(2) == QVariant(longer.c_str()); }));
    EXPECT_EQ(visible<QListView>("sourceList")->gridSize(), size) << "tiles move under the pointer";
    switcher.faults.set({fault("not-utf8@INPUTLABEL")});
    const VirtualSwitch third(name + " three", 2, 2);
    EXPECT_TRUE(runMainLoopUntil([&] { return label(2) == QVariant("not known"); })) << "nor are they of before";
    session().reconnect();
    EXPECT_TRUE(marks("Programme") & AttributesModel::notKnown) << "at once: the labels may take long";
}

TEST_F(Panel, routesWhatHasNoNumbers) {
    window = nullptr;
    EXPECT_TRUE(host.unload());
    qputenv("RELAYS", "late");
    PluginHost relays(file);
    EXPECT_TRUE(relays.load(WILFUL_BUNDLE));
    window = std::make_unique<WorkbenchWindow>(relays, file);
    window->show();
    window->findChild<QTabWidget*>("views")->setCurrentIndex(0);
    EXPECT_TRUE(session().start(false) &&
                runMainLoopUntil([&] { return session().attributes().rowCount() == 3 && !session().isReading(); }));
    EXPECT_EQ(window->findChild<QTableView*>("crosspointTable")->model()->columnCount(), 2) << "Off and On";
    choose("destinationList", 1);
    const auto* const sources = visible<QListView>("sourceList")->model();
    EXPECT_TRUE(sources->rowCount() == 2 && !sources->index(0, 0).data(AttributesModel::numberRole).isValid());
    type("sourceList", "1");
    EXPECT_EQ(outcome(), "") << "no value contains it";
    type("sourceList", "\x1B");
    type("sourceList", "on");
    EXPECT_TRUE(runMainLoopUntil([&] { return outcome() == "Set \"Relay 1\" to \"On\"."; })) << outcome();
    window = nullptr;
    EXPECT_TRUE(relays.unload());
    qunsetenv("RELAYS");
}

TEST(PanelColours, canBeReadOnAnyPalette) {
    QPalette dark(QColor(49, 54, 59), QColor(42, 46, 50));
    dark.setColor(QPalette::Base, QColor(27, 30, 32));
    for (const QPalette& palette : {QPalette(Qt::lightGray), QPalette(Qt::white), dark}) {
        const Tints tints(palette);
        for (const QColor& colour : {tints.dimmed(), tints.warning(), tints.failure()}) {
            EXPECT_GE(contrastBetween(colour, palette.color(QPalette::Base)), kReadableContrast)
                << colour.name().toStdString();
        }
        EXPECT_GE(contrastBetween(palette.color(QPalette::Text), tints.flash()), kReadableContrast);
        EXPECT_NE(tints.dimmed(), palette.color(QPalette::Text));
    }
}

}  // namespace velmora::test
