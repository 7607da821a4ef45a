// The workbench: keys and clicks in its window.
#include <sys/stat.h>

#include <QAbstractItemModelTester>
#include <QFile>
#include <QImage>

#include "host/Values.h"
#include "tests/host/Program.h"
#include "tests/host/WorkbenchFixture.h"

namespace velmora::test {

TEST_F(Workbench, showsAndSetsAttributes) {
    AttributesModel& model = window->session().attributes();
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    EXPECT_EQ(cell(1, 0) + '|' + cell(1, 1) + '|' + cell(1, 2) + '|' + cell(1, 3) + '|' + cell(1, 4),
              "2|<b>Preview</b>|Velmora Switch Output 2|0003 Input 3|0002 Input 2");
    EXPECT_FALSE(model.index(1, 1).data(Qt::ToolTipRole).toString().contains("<b>"));
    typeValue("1150", Qt::Key_Return);
    EXPECT_TRUE(currentComesTo(1, "1150 Input 1150"));
    EXPECT_FALSE(typeValue("7", Qt::Key_Escape)->isVisible());
    ASSERT_TRUE(switcher.matrix.route(1, 9));
    click("refreshButton");
    EXPECT_TRUE(currentComesTo(0, "0009 Input 9"));
    EXPECT_EQ(switcher.matrix.routedInput(2), 1150) << "left without a choice, the pop-up sets nothing";

    // An edit in the plugin's own view comes back as a change notice.
    const std::string notice = text("changeNoticeLabel");
    outputs()->selectRow(1);
    click("removeSegment");
    EXPECT_EQ(model.rowCount(), 1);
    EXPECT_NE(text("changeNoticeLabel"), notice);
}

TEST_F(Workbench, saysWhereTheConnectionStandsAndWhatItWaitsFor) {
    const std::string connected = "Connected to \"" + name + "\": 2 attributes, 1152 inputs.";
    EXPECT_EQ(text("situationLabel"), connected);
    switcher.server = nullptr;  // it stays announced, as after a crash
    ASSERT_TRUE(comesTo(kLost)) << text("situationLabel");
    EXPECT_TRUE(losesValue(1)) << "the plugin would say that it is the first input";
    EXPECT_TRUE(cell(1, AttributesModel::currentColumn).starts_with("0002 Input 2 ("))
        << "the last known one, its time";
    struct Painted final : QObject {
        bool eventFilter(QObject* label, QEvent* event) override {
            if (event->type() == QEvent::Paint) texts << static_cast<QLabel*>(label)->text();
            return false;
        }
        QStringList texts;
    } painted;
    window->findChild<QLabel*>("situationLabel")->installEventFilter(&painted);
    switcher.stop();
    switcher.start();
    ASSERT_TRUE(comesTo(kConnected)) << text("situationLabel");
    EXPECT_TRUE(currentComesTo(1, "0002 Input 2"));
    const auto painting = [&](const std::string& begin) {
        const auto begins = [&](const QString& text) { return text.startsWith(QString::fromStdString(begin)); };
        return std::find_if(painted.texts.begin(), painted.texts.end(), begins) - painted.texts.begin();
    };
    EXPECT_TRUE(runMainLoopUntil([&] { return painting(connected) < painted.texts.size(); }))
        << "what is shown is painted a little later";
    const auto waiting =
        painting("Connecting to \"" + name + "\". The window may stand still while the plugin reads its labels.");
    EXPECT_LT(waiting, painting(connected)) << painted.texts.join('\n').toStdString();

    choose("stopAction");
    EXPECT_EQ(text("situationLabel"), "The plugin is stopped.");
    EXPECT_EQ(window->session().attributes().rowCount(), 0);
    answer(QMessageBox::Yes);
    choose("startWithDefaultsAction");
    EXPECT_TRUE(comesTo(kConnected)) << text("situationLabel");
    EXPECT_EQ(switcher.matrix.routedInput(2), 3);
    painted.texts.clear();
    answer(QMessageBox::Yes);
    click("reconnectButton");
    EXPECT_TRUE(painted.texts.contains("Handing the plugin its settings\u2026"));
    EXPECT_TRUE(comesTo(kConnected));
}

TEST_F(Workbench, callsNoConnectionAliveThatFailsUnderACommand) {
    FaultPlan& faults = switcher.faults;
    window->session().handOver(settingsWith(name, {{"Monitor", 0, 0}}));
    ASSERT_TRUE(switcher.matrix.route(1, 9));
    for (const auto& [verb, button, words] :
         {std::tuple{"reset@GET", "refreshButton", ": Connection reset by peer."},
          {"close-before@INPUTLABEL#20", "reconnectButton", ": The server ended the connection."},
          {"close-during@GET", "refreshButton", ": The server ended the connection."}}) {
        SCOPED_TRACE(verb);
        ASSERT_TRUE(comesTo(kConnected)) << text("situationLabel");
        EXPECT_TRUE(currentComesTo(0, "0009 Input 9"));
        faults.set({fault(verb)});
        click(button);
        ASSERT_TRUE(comesTo(kLost)) << text("situationLabel");
        EXPECT_TRUE(losesValue(0));
        EXPECT_TRUE(runMainLoopUntil([&] { return text("situationLabel").find(words) != std::string::npos; }))
            << text("situationLabel");
        faults.set({});
        click("reconnectButton");
    }
    ASSERT_TRUE(comesTo(kConnected) && currentComesTo(0, "0009 Input 9"));
    faults.set({fault("wrong@GET")});
    click("refreshButton");
    EXPECT_TRUE(losesValue(0) && comesTo(kConnected)) << "it stands, yet says nothing of use";
}

TEST_F(Workbench, offersAndSetsOnlyWhatIsPossibleNow) {
    std::vector<std::string> texts;
    for (int number = 1; number <= 10'400; ++number) {
        texts.push_back(stringWithFormat("%04li A", number));
    }
    const Values wide(makeStringList(texts));
    EXPECT_TRUE(wide.canBeSet("9999 A") && !wide.canBeSet("10400 A") && !wide.areSame("10400 A", "1040 A"));
    EXPECT_TRUE(wide.areSame("1040 Input 1040", "1040 A") && wide.settable()->size() == 9999);
    EXPECT_TRUE(!wide.canBeSet("1e3") && !wide.canBeSet("-1") &&
                Values(makeStringList({"0001: A"})).canBeSet("0001: A"));
    for (const char* const first : {"1080i", "44100", "0002", "0001i", "00001", "1080 p50"}) {
        const Values formats(makeStringList({first, "48000", "96000"}));
        EXPECT_TRUE(formats.canBeSet("48000") && !formats.areSame("1080 p50", "1080 p60")) << first;
        EXPECT_TRUE(formats.meantBy("1080p") == "1080p" && formats.meantBy("1") == "1") << first;
    }
    const QWidget* const values = typeValue("11", Qt::Key_Down);
    // Whatever server comes, the plugin asks for all labels.
    const std::string notice = text("changeNoticeLabel");
    const PublishedService other(name + " II", switcher.server->port());
    EXPECT_TRUE(runMainLoopUntil([&] { return text("changeNoticeLabel") != notice; }) && values->isVisible());
    MatrixContents labels;
    labels.inputLabels = {"Renamed"};
    ASSERT_TRUE(switcher.matrix.apply(labels));
    const PublishedService another(name + " III", switcher.server->port());
    EXPECT_TRUE(runMainLoopUntil([&] { return !values->isVisible(); }));
    window->session().setLater("Velmora Switch Output 2", "0001 Input 1");
    EXPECT_TRUE(runMainLoopUntil([&] { return text("outcomeLabel").find("Did not set") != std::string::npos; }));
    EXPECT_EQ(switcher.matrix.routedInput(2), 2);

    typeValue("11", Qt::Key_Down);
    switcher.server = nullptr;
    EXPECT_TRUE(comesTo(kLost) && runMainLoopUntil([&] { return !values->isVisible(); }));
}

TEST_F(Workbench, takesWhatIsBeingTyped) {
    typeLabel("Typed");
    choose("saveAction");  // the field keeps the focus
    EXPECT_EQ(label("settings.plist"), "Typed");
    EXPECT_NE(text("outcomeLabel").find("settings.plist"), std::string::npos);
    EXPECT_EQ(text("doubtsLabel"), "");
    firstOutput()->insert_or_assign("defaultInputNumber", 1152);
    EXPECT_TRUE(
        runMainLoopUntil([&] { return text("doubtsLabel").ends_with("is beyond the matrix, which has 1152 inputs"); }));
}

TEST_F(Workbench, losesNoSettingsWithoutAWord) {
    SettingsDocument document(file, window->session(), *this);
    rename("Mine");
    EXPECT_FALSE(document.load() || closes(QMessageBox::Cancel)) << "kept";
    write("settings.plist", name, {{"Theirs", 1, 0}});
    unsaved = Unsaved::save;
    EXPECT_FALSE(document.mayLetGo());
    EXPECT_EQ(label("settings.plist"), "Theirs") << "not overwritten unasked";
    mayOverwrite = true;
    EXPECT_TRUE(document.save() && !document.isUnsaved());
    EXPECT_EQ(label("settings.plist"), "Mine");
    EXPECT_TRUE(document.save() && questions == 2) << "there is nothing to ask about its own writing";
    SettingsFile fresh(path("fresh.plist").toStdString());
    ASSERT_TRUE(fresh.read());
    fresh.setPluginSettings(window->session().settings());
    EXPECT_TRUE(SettingsDocument(fresh, window->session(), *this).save());
    EXPECT_EQ(label("fresh.plist"), "Mine") << "not changed, and not there";

    rename("Mine again");
    unsaved = Unsaved::discard;
    ASSERT_TRUE(QFile(path(toLoad)).open(QIODevice::WriteOnly));
    EXPECT_FALSE(document.load());
    EXPECT_TRUE(error.find(toLoad) != std::string::npos && document.isUnsaved()) << error;
    toLoad = "other.plist";
    write(toLoad, name, {{"Other", 1, 0}});
    EXPECT_TRUE(document.load() && !document.isUnsaved());
    EXPECT_EQ(label(), "Other");

    typeLabel("Given up");
    EXPECT_TRUE(closes(QMessageBox::Discard));
    window = nullptr;
    EXPECT_TRUE(host.unload());
    EXPECT_EQ(label("other.plist") + label("settings.plist"), "OtherMine");
}

TEST_F(Workbench, showsAPluginThatIsNotOurs) {
    window = nullptr;
    EXPECT_TRUE(host.unload());
    for (const auto& [relaysAre, words, level] :
         {std::tuple{"late", "3 attributes", "0.5"}, {"lost", "The cable is out", "not known"}}) {
        qputenv("RELAYS", relaysAre);
        PluginHost relays(file);
        EXPECT_TRUE(relays.load(WILFUL_BUNDLE));
        window = std::make_unique<WorkbenchWindow>(relays, file);
        WorkbenchSession& session = window->session();
        ASSERT_TRUE(session.start(false));
        EXPECT_TRUE(runMainLoopUntil([&] { return session.attributes().rowCount() == 3; }));
        EXPECT_TRUE(session.situation().text.contains(words) && !session.situation().text.contains("server"))
            << text("situationLabel");
        EXPECT_TRUE(currentComesTo(0, level));
        if (session.canAsk()) {
            session.setLater("Relay 1", "On");
            EXPECT_TRUE(currentComesTo(1, "On") && currentComesTo(2, "On"));
        }
        window = nullptr;
        EXPECT_TRUE(relays.unload());
    }
    qunsetenv("RELAYS");
}

TEST_F(Workbench, writesAPictureAndEndsAsTheHostDoes) {
    const QString picture = path("picture.png");
    const auto run = [&](const QStringList& arguments) {
        return Program(VELMORA_HOST, QStringList{"--interface", "lo", "--screenshot", picture} + arguments).exitCode();
    };
    EXPECT_EQ(run({"--settings", path("settings.plist"), "workbench"}), 0);
    EXPECT_TRUE(QImage(picture).width() >= 480 && QFile::remove(picture));
    write("absent.plist", "Elsewhere", {{"Monitor", 0, 0}});
    EXPECT_EQ(run({"--settings", path("absent.plist"), "--wait", "0.5", "workbench"}), 3);
    EXPECT_FALSE(QImage(picture).isNull()) << "a picture of what there is";
    ASSERT_EQ(mkfifo(path("pipe").toUtf8(), S_IRUSR | S_IWUSR), 0);
    for (const char* const unfit : {"no/folder.png", "pipe"}) {
        EXPECT_EQ(run({"--screenshot", path(unfit), "--settings", path("absent.plist"), "--wait", "600", "workbench"}),
                  2)
            << "said before the wait";
    }
    EXPECT_EQ(run({"settings"}), 2) << "no option of that command";
    qputenv("QT_QPA_PLATFORM", "none");
    EXPECT_EQ(run({"workbench"}), 2) << "no window system";
    EXPECT_EQ(Program(VELMORA_HOST, {"settings"}).exitCode(), 0) << "the others need none";
    qputenv("QT_QPA_PLATFORM", "offscreen");
}

}  // namespace velmora::test

int main(int argc, char** argv) {
    return velmora::test::runTests<QApplication>(argc, argv);
}
