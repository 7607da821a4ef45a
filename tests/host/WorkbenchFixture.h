// The workbench's real window, with the plugin's real bundle and the virtual switch server.
#pragma once

#include <QAction>
#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMessageBox>
#include <QPushButton>
#include <QTabWidget>
#include <QTableView>
#include <QTemporaryDir>
#include <QtTest/QTest>

#include "host/workbench/Translation.h"
#include "host/workbench/WorkbenchWindow.h"
#include "platform/foundation/PropertyListXML.h"
#include "tests/plugin/Settings.h"
#include "tests/support/TestProgram.h"
#include "tests/support/VirtualSwitch.h"

namespace velmora::test {

using Unsaved = SettingsDocument::Unsaved;

// How situations begin.
inline constexpr const char* kConnected = "Connected to";
inline constexpr const char* kLost = "The connection to";

class Workbench : public testing::Test, protected SettingsDocument::Person {
  protected:
    Workbench() {
        write("settings.plist", name, {{"Monitor", 0, 0}, {"<b>Preview</b>", 1, 2}});
        EXPECT_TRUE(file.read() && host.load(VELMORA_BUNDLE));
        window = std::make_unique<WorkbenchWindow>(host, file);
        window->show();
        auto* const views = window->findChild<QTabWidget*>("views");
        views->setCurrentIndex(views->count() - 1);  // as the host sees it
        choose("settingsAction");
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
    // As a person does: not while the window stands still.
    void click(const char* of) const {
        EXPECT_TRUE(canAct());
        QTest::mouseClick(window->findChild<QPushButton*>(of), Qt::LeftButton);
    }
    bool canAct() const {
        return runMainLoopUntil([this] { return window->session().mayAct(); });
    }
    void choose(const char* action) const { window->findChild<QAction*>(action)->trigger(); }
    std::string cell(int row, int column) const {
        return window->session().attributes().index(row, column).data().toString().toStdString();
    }
    bool comesTo(const char* situation) const {
        WorkbenchSession& session = window->session();
        return runMainLoopUntil([&] { return session.situation().text.startsWith(situation) && !session.isReading(); });
    }
    bool currentComesTo(int row, const std::string& value) const {
        return runMainLoopUntil([&] { return cell(row, AttributesModel::currentColumn) == value; });
    }
    bool losesValue(int row) const {
        const QModelIndex index = window->session().attributes().index(row, 0);
        return runMainLoopUntil(
            [&] { return index.data(AttributesModel::marksRole).toInt() & AttributesModel::notKnown; });
    }
    // Opens the possible values of the second output, by key or by a click on the arrow, and types into them.
    QWidget* typeValue(const char* typed, Qt::Key last) const {
        EXPECT_TRUE(canAct());
        auto* const views = window->findChild<QTabWidget*>("views");
        views->setCurrentIndex(views->count() - 1);  // as the host sees it
        auto* const table = window->findChild<QTableView*>("attributesTable");
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
    // Answers the next question, once it is there.
    void answer(QMessageBox::StandardButton answer) const {
        auto* const watch = new QTimer(window.get());
        QObject::connect(watch, &QTimer::timeout, watch, [watch, answer] {
            auto* const question = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            if (question == nullptr) return;
            watch->deleteLater();
            watch->stop();
            question->button(answer)->click();
        });
        watch->start(1);
    }
    // Closes the window and answers the question that this leads to.
    bool closes(QMessageBox::StandardButton reply) const {
        answer(reply);
        return window->close();
    }
    QTableView* outputs() const { return window->findChild<QTableView*>("outputsTableView"); }
    void typeLabel(const char* typed) const {
        EXPECT_TRUE(canAct());
        const QModelIndex cell = outputs()->model()->index(0, 0);
        outputs()->edit(cell);
        QTest::keyClicks(outputs()->indexWidget(cell), typed);
    }

    Unsaved whatAboutUnsavedSettings() override { return unsaved; }
    bool mayOverwriteChangedFile(const std::filesystem::path&) override { return ++questions, mayOverwrite; }
    std::optional<std::filesystem::path> fileToLoad(const std::filesystem::path&) override {
        return path(toLoad).toStdString();
    }
    std::optional<std::filesystem::path> fileToSave(const std::filesystem::path&) override {
        return path("saved.plist").toStdString();
    }
    void hearOfFailure(const Failure& failure) override { error = failure.reason; }

    const std::string name = "<b>Bench</b> " + std::to_string(QCoreApplication::applicationPid());
    const Translation english{QLocale::c()};
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

}  // namespace velmora::test
