// The workbench's window on a small matrix, as the tests of its views need it.
#pragma once

#include <gtest/gtest.h>

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

// Three outputs of a matrix with 16 inputs, and a tenth that the matrix does not have: the plugin has it after the
// first.
class RoutingFixture : public testing::Test {
  protected:
    explicit RoutingFixture(const char* tab) {
        MatrixContents labels;
        labels.inputLabels = {"Camera 1", "Camera 20"};
        EXPECT_TRUE(switcher.matrix.apply(labels));
        EXPECT_TRUE(writePropertyListToFile(
            settingsWith(name, {{"Recorder", 2, 2}, {"Programme", 0, 0}, {"Stray", 9, 0}, {"Preview", 1, 4}}),
            path("settings.plist")));
        EXPECT_TRUE(file.read() && host.load(VELMORA_BUNDLE));
        window = std::make_unique<WorkbenchWindow>(host, file);
        window->resize(1400, 900);
        window->show();
        auto* const views = window->findChild<QTabWidget*>("views");
        for (int i = 0; i < views->count(); ++i) {
            if (views->tabText(i).remove('&') == tab) views->setCurrentIndex(i);
        }
        EXPECT_TRUE(session().start(false) && comesUp());
    }
    ~RoutingFixture() override {
        window = nullptr;
        EXPECT_TRUE(host.unload());
    }

    std::string path(const char* of) const { return folder.filePath(of).toStdString(); }
    WorkbenchSession& session() const { return window->session(); }
    // Without its time.
    std::string outcome() const { return session().outcome().toStdString(); }
    template <typename Widget>
    Widget* visible(const char* of) const {
        for (Widget* const widget : window->findChildren<Widget*>(of)) {
            if (widget->isVisible()) return widget;
        }
        ADD_FAILURE() << of;
        return nullptr;
    }
    void press(const char* of) const { clickAt(visible<QAbstractButton>(of), {}); }
    void clickAt(QWidget* widget, const QPoint& place) const {
        EXPECT_TRUE(runMainLoopUntil([&] { return session().mayAct(); }));
        QTest::mouseClick(widget, Qt::LeftButton, {}, place);
    }
    bool comesUp() const {
        const AttributesModel& attributes = session().attributes();
        return runMainLoopUntil([&] {
            return !session().isReading() && attributes.index(0, 0).data(AttributesModel::sourceNumberRole).isValid();
        });
    }
    bool comesTo(int output, int input) {
        return runMainLoopUntil([&] { return switcher.matrix.routedInput(output) == input; }) &&
               runMainLoopUntil([&] { return outcome().starts_with("Set "); });
    }

    const std::string name = "Views " + std::to_string(QCoreApplication::applicationPid());
    const Translation english{QLocale::c()};
    const QTemporaryDir folder;
    VirtualSwitch switcher{name, 16, 4};
    SettingsFile file{path("settings.plist")};
    PluginHost host{file};
    std::unique_ptr<WorkbenchWindow> window;
};

}  // namespace velmora::test
