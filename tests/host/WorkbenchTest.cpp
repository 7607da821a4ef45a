// The workbench: keys and clicks in its real window, with the plugin's real bundle and the virtual switch server.
#include <sys/stat.h>

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QFile>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMessageBox>
#include <QPushButton>
#include <QTabWidget>
#include <QTableView>
#include <QTemporaryDir>
#include <QtTest/QTest>

#include "host/Values.h"
#include "host/workbench/WorkbenchWindow.h"
#include "platform/foundation/PropertyListXML.h"
#include "tests/host/Program.h"
#include "tests/plugin/Settings.h"
#include "tests/support/TestProgram.h"
#include "tests/support/VirtualSwitch.h"

namespace velmora::test {

namespace {

using Unsaved = SettingsDocument::Unsaved;

// How situations begin.
constexpr const char* kConnected = "Connected to";
constexpr const char* kLost = "The connection to";

class Workbench : public testing::Test, protected SettingsDocument::Person {
  protected:
    Workbench() {
        write("settings.plist", name, {{"Monitor", 0, 0}, {"<b>Preview</b>", 1, 2}});
        EXPECT_TRUE(file.read() && host.load(VELMORA_BUNDLE));
        window = std::make_unique<WorkbenchWindow>(host, file);
        window->show();
        EXPECT_TRUE(window->session().start(false) && comesTo(kConnected)) << text("situationLabel");
    }
    ~Workbench() override {
        window = nullptr;
        EXPECT_TRUE(host.unload());
    }

    QString path(const char* of) const { return folder.filePath(of); }
    void write(const char* of, const std::string& server, const std::vector<Output>& outputs) const {
        EXPECT_TRUE(writePropertyListToFile(settingsWith(server, outputs), path(of).toStdString()));
    }
    // Of a file's settings, or of the plugin's.
    DictionaryReference firstOutput(const char* of = nullptr) const {
        const auto settings = of != nullptr ? propertyListWithContentsOfFile(path(of).toStdString())->dictionary()
                                            : window->session().settings();
        return valueForKey(settings, "configuredOutputs")->array()->front().dictionary();
    }
    std::string label(const char* of = nullptr) const { return textForKey(firstOutput(of), "label").value(); }
    void rename(const char* to) { firstOutput()->insert_or_assign("label", to); }

    std::string text(const char* of) const { return window->findChild<QLabel*>(of)->text().toStdString(); }
    void click(const char* of) const { QTest::mouseClick(window->findChild<QPushButton*>(of), Qt::LeftButton); }
    std::string cell(int row, int column) const {
        return window->session().attributes().index(row, column).data().toString().toStdString();
    }
    bool comesTo(const char* situation) const {
        WorkbenchSession& session = window->session();
        return runMainLoopUntil([&] { return session.situation().startsWith(situation) && !session.isReading(); });
    }
    bool currentComesTo(int row, const std::string& value) const {
        return runMainLoopUntil([&] { return cell(row, AttributesModel::currentColumn) == value; });
    }
    // Opens the possible values of the second output, by key or by a click on the arrow, and types into them.
    QWidget* typeValue(const char* typed, Qt::Key last) const {
        auto* const table = window->findChild<QTableView*>("attributesTable");
        window->findChild<QTabWidget*>("views")->setCurrentWidget(table);
        table->setCurrentIndex(table->model()->index(1, 0));
        if (last == Qt::Key_Return) {
            QTest::keyClick(table, Qt::Key_Return);
        } else {
            const QRect cell = table->visualRect(table->model()->index(1, AttributesModel::currentColumn));
            QTest::mouseClick(table->viewport(), Qt::LeftButton, {}, QPoint(cell.right() - 4, cell.center().y()));
        }
        QWidget* const values = QApplication::activePopupWidget();
        EXPECT_EQ(values->findChild<QListView*>()->model()->rowCount(), 1152);
        QTest::keyClicks(values->findChild<QLineEdit*>(), typed);
        QTest::keyClick(values->findChild<QLineEdit*>(), last);
        return values;
    }
    // Closes the window and answers the question that this leads to.
    bool closes(QMessageBox::StandardButton answer) const {
        QTimer::singleShot(0, window.get(), [answer] {
            auto* const question = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            ASSERT_NE(question, nullptr);
            question->button(answer)->click();
        });
        return window->close();
    }
    QTableView* outputs() const { return window->findChild<QTableView*>("outputsTableView"); }
    void typeLabel(const char* typed) const {
        const QModelIndex cell = outputs()->model()->index(0, 0);
        outputs()->edit(cell);
        QTest::keyClicks(outputs()->indexWidget(cell), typed);
    }

    Unsaved whatAboutUnsavedSettings() override { return unsaved; }
    bool mayOverwriteChangedFile(const std::filesystem::path&) override { return ++questions, mayOverwrite; }
    std::optional<std::filesystem::path> fileToLoad() override { return path(toLoad).toStdString(); }
    std::optional<std::filesystem::path> fileToSave() override { return std::nullopt; }
    void hearOfFailure(const Failure& failure) override { error = failure.reason; }

    const std::string name = "<b>Bench</b> " + std::to_string(QCoreApplication::applicationPid());
    const QTemporaryDir folder;
    VirtualSwitch switcher{name, 1152, 2};
    std::string error;
    SettingsFile file{path("settings.plist").toStdString()};
    PluginHost host{file};
    std::unique_ptr<WorkbenchWindow> window;
    Unsaved unsaved = Unsaved::keep;
    bool mayOverwrite = false;
    int questions = 0;
    const char* toLoad = "damaged.plist";
};

}  // namespace

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
    const std::string notice = text("noticeLabel");
    outputs()->selectRow(1);
    click("removeSegment");
    EXPECT_EQ(model.rowCount(), 1);
    EXPECT_NE(text("noticeLabel"), notice);
}

TEST_F(Workbench, saysWhereTheConnectionStandsAndWhatItWaitsFor) {
    const std::string connected = "Connected to \"" + name + "\": 2 attributes, 1152 inputs.";
    EXPECT_EQ(text("situationLabel"), connected);
    switcher.server = nullptr;  // it stays announced, as after a crash
    ASSERT_TRUE(comesTo(kLost)) << text("situationLabel");
    EXPECT_TRUE(currentComesTo(1, "not known")) << "the plugin would say that it is the first input";
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
    const auto painting = [&](const std::string& text) { return painted.texts.indexOf(QString::fromStdString(text)); };
    EXPECT_TRUE(runMainLoopUntil([&] { return painting(connected) >= 0; }))
        << "what is shown is painted a little later";
    const auto waiting = painting("Connecting to \"" + name + "\". The window may stand still until it has answered.");
    EXPECT_TRUE(waiting >= 0 && waiting < painting(connected)) << painted.texts.join('\n').toStdString();

    click("stopButton");
    EXPECT_EQ(text("situationLabel"), "The plugin is stopped.");
    EXPECT_EQ(window->session().attributes().rowCount(), 0);
    click("startWithDefaultsButton");
    EXPECT_TRUE(comesTo(kConnected)) << text("situationLabel");
    EXPECT_EQ(switcher.matrix.routedInput(2), 3);
    EXPECT_TRUE(text("situationLabel").ends_with("Started with defaults: each connection routes all outputs to them."));

    painted.texts.clear();
    click("reconnectButton");
    EXPECT_TRUE(painted.texts.contains("Waiting for the device\u2026"));
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
        EXPECT_TRUE(currentComesTo(0, "not known"));
        EXPECT_TRUE(runMainLoopUntil([&] { return text("situationLabel").find(words) != std::string::npos; }))
            << text("situationLabel");
        faults.set({});
        click("reconnectButton");
    }
    ASSERT_TRUE(comesTo(kConnected) && currentComesTo(0, "0009 Input 9"));
    faults.set({fault("wrong@GET")});
    click("refreshButton");
    EXPECT_TRUE(currentComesTo(0, "not known") && comesTo(kConnected)) << "it stands, yet says nothing of use";
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
    const std::string notice = text("noticeLabel");
    const PublishedService other(name + " II", switcher.server->port());
    EXPECT_TRUE(runMainLoopUntil([&] { return text("noticeLabel") != notice; }) && values->isVisible());
    MatrixContents labels;
    labels.inputLabels = {"Renamed"};
    ASSERT_TRUE(switcher.matrix.apply(labels));
    const PublishedService another(name + " III", switcher.server->port());
    EXPECT_TRUE(runMainLoopUntil([&] { return !values->isVisible(); }));
    window->session().setLater("Velmora Switch Output 2", "0001 Input 1");
    EXPECT_TRUE(runMainLoopUntil([&] { return text("outcomeLabel").starts_with("Did not set"); }));
    EXPECT_EQ(switcher.matrix.routedInput(2), 2);

    typeValue("11", Qt::Key_Down);
    switcher.server = nullptr;
    EXPECT_TRUE(comesTo(kLost) && runMainLoopUntil([&] { return !values->isVisible(); }));
}

TEST_F(Workbench, takesWhatIsBeingTyped) {
    typeLabel("Typed");
    window->findChild<QPushButton*>("saveButton")->click();  // as its shortcut does: the field keeps the focus
    EXPECT_EQ(label("settings.plist"), "Typed");
    EXPECT_NE(text("outcomeLabel").find("settings.plist"), std::string::npos);
    EXPECT_EQ(text("doubtsLabel"), "");
    firstOutput()->insert_or_assign("defaultInputNumber", 1152);
    EXPECT_TRUE(runMainLoopUntil(
        [&] { return text("doubtsLabel").ends_with("is beyond the matrix, which has 1152 inputs, counted from 0"); }));
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
        EXPECT_TRUE(session.situation().contains(words) && !session.situation().contains("server"))
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
