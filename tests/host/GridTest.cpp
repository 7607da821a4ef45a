// The grid and the salvos, with a real matrix behind them.
#include <QAbstractItemModelTester>
#include <QHeaderView>

#include "host/workbench/salvos/SalvosView.h"
#include "platform/foundation/FileContents.h"
#include "tests/host/RoutingFixture.h"

namespace velmora::test {

namespace {

class Grid : public RoutingFixture {
  protected:
    Grid() : RoutingFixture("Grid") {}

    QAbstractItemModel* model() const { return visible<QTableView>("crosspointTable")->model(); }
    void choose(int row, int column) const {
        auto* const table = visible<QTableView>("crosspointTable");
        const QModelIndex crosspoint = table->model()->index(row, column);
        table->scrollTo(crosspoint);
        clickAt(table->viewport(), table->visualRect(crosspoint).center());
    }
    QString spoken(int row, int column) const {
        return model()->index(row, column).data(Qt::AccessibleTextRole).toString();
    }
};

class Salvos : public RoutingFixture {
  protected:
    Salvos() : RoutingFixture("Salvos") {}

    std::string summary() const { return visible<QLabel>("salvoSummary")->text().toStdString(); }
    SalvosView& view() const { return *static_cast<SalvosView*>(visible<QLabel>("salvoSummary")->parentWidget()); }
    bool saysInTheEnd(const std::string& what) const {
        return runMainLoopUntil([&] { return outcome().starts_with("Salvo: "); }) && outcome() == what;
    }
};

}  // namespace

TEST_F(Grid, routesCrosspointsUnderTheSameRules) {
    const QAbstractItemModelTester tester(model());
    EXPECT_TRUE(model()->rowCount() == 4 && model()->columnCount() == 16);
    EXPECT_TRUE(runMainLoopUntil([&] { return spoken(1, 1).endsWith(", routed"); })) << spoken(1, 1).toStdString();
    choose(1, 9);
    EXPECT_TRUE(comesTo(2, 10) && runMainLoopUntil([&] { return spoken(1, 9).endsWith(", routed"); }));
    EXPECT_FALSE(spoken(1, 1).endsWith(", routed"));
    press("presetButton");
    choose(0, 3);
    EXPECT_TRUE(runMainLoopUntil([&] { return spoken(0, 3).endsWith(", waits for TAKE"); }));
    QTest::keyClick(window.get(), Qt::Key_F12);
    EXPECT_TRUE(comesTo(1, 4));
    press("directButton");
    press("exchangeButton");
    choose(1, 2);
    EXPECT_TRUE(comesTo(2, 3)) << "a crosspoint ends an exchange that was begun";
    EXPECT_EQ(switcher.matrix.routedInput(1), 4);
    press("lockButton");
    choose(1, 5);
    EXPECT_TRUE(outcome().find("locked in this window") != std::string::npos) << outcome();

    visible<QLineEdit>("gridSourceField")->setText("camera");
    visible<QLineEdit>("gridDestinationField")->setText("2");
    EXPECT_TRUE(model()->rowCount() == 1 && model()->columnCount() == 2);
    press("lockButton");
    choose(0, 1);
    EXPECT_TRUE(comesTo(2, 2)) << "what is found keeps its number";
}

TEST_F(Salvos, areTakenFiredAndKeptAsFiles) {
    ASSERT_TRUE(switcher.matrix.route(3, 8)) << "what is there counts, not what was read last";
    press("takeRoutesButton");
    EXPECT_EQ(summary(), "0 of 3 steps differ from the values that were read last.") << "the fourth has none";
    view().save(path("quiet.salvo"));
    EXPECT_EQ(*readFile(path("quiet.salvo"), 1000),
              "Velmora Switch Output 1=0001 Camera 1\nVelmora Switch Output 2=0002 Camera 20\n"
              "Velmora Switch Output 3=0008 Input 8\n");
    ASSERT_TRUE(switcher.matrix.route(1, 9) && switcher.matrix.route(3, 9));
    session().refresh();
    EXPECT_TRUE(runMainLoopUntil([&] { return summary().find(": 2 of 3") != std::string::npos; })) << summary();
    press("fireButton");
    for (const char* const button : {"takeRoutesButton", "loadSalvoButton", "saveSalvoButton", "removeStepButton"}) {
        EXPECT_FALSE(visible<QPushButton>(button)->isEnabled()) << button << " would leave the rest unset";
    }
    EXPECT_TRUE(saysInTheEnd("Salvo: 3 of 3 followed.")) << outcome();
    EXPECT_TRUE(runMainLoopUntil([&] { return visible<QPushButton>("takeRoutesButton")->isEnabled(); }));
    EXPECT_TRUE(switcher.matrix.routedInput(1) == 1 && switcher.matrix.routedInput(3) == 8);

    ASSERT_TRUE(replaceFile(path("loud.salvo"), "# by hand\nStray=4\n1=5\n"));
    view().load(path("loud.salvo"));
    press("fireButton");
    EXPECT_TRUE(saysInTheEnd("Salvo: 1 of 2 followed, not 10 Stray.")) << outcome();
    EXPECT_EQ(switcher.matrix.routedInput(1), 5) << "set all the same, by its number";
    ASSERT_TRUE(replaceFile(path("renamed.salvo"), "1=0006 Old name\n"));
    view().load(path("renamed.salvo"));
    for (const auto answer : {QMessageBox::Cancel, QMessageBox::Yes}) {
        EXPECT_EQ(switcher.matrix.routedInput(1), 5) << "the salvo means input 6, but calls it otherwise";
        QTimer::singleShot(0, window.get(), [answer] {
            auto* const question = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            ASSERT_NE(question, nullptr);
            EXPECT_TRUE(
                question->informativeText().endsWith("1 Programme: \"0006 Old name\" is called \"0006 Input 6\" now"));
            question->button(answer)->click();
        });
        press("fireButton");
    }
    EXPECT_TRUE(saysInTheEnd("Salvo: 1 of 1 followed.") && switcher.matrix.routedInput(1) == 6) << outcome();
    ASSERT_TRUE(replaceFile(path("twice.salvo"), "1=4\nProgramme=6\n"));
    view().load(path("twice.salvo"));
    press("fireButton");
    EXPECT_TRUE(outcome().find("1 Programme is to be set twice") != std::string::npos) << outcome();
    EXPECT_EQ(switcher.matrix.routedInput(1), 6);
    ASSERT_TRUE(replaceFile(path("wrong.salvo"), "Velmora Switch Output 5=4\n"));
    view().load(path("wrong.salvo"));
    EXPECT_TRUE(outcome().find("line 1: there is no attribute") != std::string::npos) << outcome();
    EXPECT_TRUE(summary().starts_with("No salvo")) << "the old one does not wait to be fired";
}

}  // namespace velmora::test
