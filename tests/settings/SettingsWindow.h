// A host's window with the settings view of a whole plugin in it, and hands to use it with.
#pragma once

#include <gtest/gtest.h>

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QTableView>
#include <QTimer>
#include <QVBoxLayout>
#include <QtTest/QTest>
#include <functional>
#include <memory>

#include "platform/threads/MainThread.h"
#include "tests/plugin/PluginFixture.h"
#include "tests/support/VirtualSwitch.h"

namespace velmora::test {

class SettingsWindow : public PluginFixture, protected VelmoraNodePluginProtocol_Delegate {
  protected:
    enum Column { label, output, defaultInput };

    SettingsWindow() {
        usePlugin();
        // Whoever opens an alert waits for it, so it is read and closed from the event loop.
        QObject::connect(&alertWatch, &QTimer::timeout, &alertWatch, [this] { answerAlert(); });
        alertWatch.start(1);
    }
    void usePlugin() {
        plugin = std::make_shared<VelmoraSwitchNodePlugin>(*NSBundle::bundleWithPath(VELMORA_BUNDLE));
        plugin->setDelegate(this);
    }

    // Starts the plugin and shows the view when that is ready, or else when the server is connected.
    void open(const Outputs& outputs, const std::string& server = "Studio",
              const std::function<bool()>& isReady = nullptr) {
        start(server, outputs);
        ASSERT_TRUE(runMainLoopUntil([&] {
            const auto device = plugin->selectedDevice();
            return isReady ? isReady() : device != nullptr && device->numberOfInputs() > 0;
        }));
        show();
    }
    void show() {
        window = std::make_unique<QWidget>();
        auto* const layout = new QVBoxLayout(window.get());
        view = plugin->settingsView();
        ASSERT_NE(view, nullptr);
        layout->addWidget(view);
        chooser = view->findChild<QComboBox*>("matrixSwitcherPopUpButton");
        table = view->findChild<QTableView*>("outputsTableView");
        add = view->findChild<QPushButton*>("addSegment");
        remove = view->findChild<QPushButton*>("removeSegment");
        refresh = view->findChild<QPushButton*>("refreshLabelsButton");
        ASSERT_TRUE(chooser && table && add && remove && refresh);
        new QAbstractItemModelTester(table->model(), QAbstractItemModelTester::FailureReportingMode::Fatal,
                                     table->model());
        window->resize(480, 360);
        window->show();
        window->activateWindow();
        ASSERT_TRUE(runMainLoopUntil([this] { return window->isActiveWindow(); }));
    }

    // What the host would store.
    Outputs outputs() const { return outputsIn(plugin->defaultSettings()); }
    std::string selectedName() const {
        return textForKey(plugin->defaultSettings(), "selectedDeviceName").value_or("(none)");
    }
    QModelIndex index(int row, Column column) const { return table->model()->index(row, column); }
    std::string cell(int row, Column column) const { return index(row, column).data().toString().toStdString(); }

    static void click(QWidget* widget) { QTest::mouseClick(widget, Qt::LeftButton); }
    void clickCell(int row, Column column) {
        QTest::mouseClick(table->viewport(), Qt::LeftButton, {}, table->visualRect(index(row, column)).center());
    }
    void pressOnCell(int row, Column column, Qt::Key key) {
        table->setFocus();
        table->setCurrentIndex(index(row, column));
        QTest::keyClick(table, key);
    }
    QLineEdit* labelEditor() const {
        for (QLineEdit* const editor : table->viewport()->findChildren<QLineEdit*>()) {
            if (editor->isVisible()) return editor;
        }
        return nullptr;
    }
    void beginLabel(int row, const QString& text) {
        pressOnCell(row, label, Qt::Key_F2);
        ASSERT_NE(labelEditor(), nullptr);
        QTest::keyClicks(labelEditor(), text);
    }
    // The editor's keys are handled when the event loop next runs.
    void typeLabel(int row, const QString& text, Qt::Key last) {
        beginLabel(row, text);
        QTest::keyClick(labelEditor(), last);
        ASSERT_TRUE(runMainLoopUntil([this] { return labelEditor() == nullptr; }));
    }
    void openChooser(Qt::Key key = Qt::Key_Down) {
        chooser->setFocus();
        QTest::keyClick(chooser, key);
        EXPECT_TRUE(chooser->view()->isVisible());
    }
    void pick(const QString& title) {
        chooser->view()->setCurrentIndex(chooser->model()->index(chooser->findText(title), 0));
        QTest::keyClick(chooser->view(), Qt::Key_Return);
        runMainLoopOnce();
    }
    // Until a cell shows the text.
    bool shows(int row, Column column, const std::string& text) {
        return runMainLoopUntil([&] { return row < table->model()->rowCount() && cell(row, column) == text; });
    }
    QLineEdit* menuField() const {
        QWidget* const popUp = QApplication::activePopupWidget();
        return popUp != nullptr ? popUp->findChild<QLineEdit*>() : nullptr;
    }
    void chooseFromMenu(int row, Column column, const QString& typed, Qt::Key last = Qt::Key_Return) {
        pressOnCell(row, column, Qt::Key_Return);
        ASSERT_NE(menuField(), nullptr);
        QTest::keyClicks(menuField(), typed);
        QTest::keyClick(menuField(), last);
        EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
    }
    // The titles of the alerts since the last call, once there is one or none is expected.
    Strings takeAlerts(std::size_t expected = 1) {
        runMainLoopUntil([&] { return alerts.size() >= expected && alert == nullptr; });
        runMainLoopOnce();
        return std::exchange(alerts, {});
    }

    void attributesChangedForPluginName(const std::string&) override {
        ++notices;
        if (onNotice) onNotice();
    }

    VirtualSwitch studio{"Studio", 4, 2};
    int notices = 0;
    std::function<void()> onNotice;
    std::function<void()> onAlert;  // before it is closed
    std::unique_ptr<QWidget> window;
    QWidget* view = nullptr;
    QComboBox* chooser = nullptr;
    QTableView* table = nullptr;
    QPushButton *add = nullptr, *remove = nullptr, *refresh = nullptr;

  private:
    void answerAlert() {
        if (alert != nullptr) return;
        alert = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (alert == nullptr) return;
        EXPECT_EQ(MainThread::currentMode(), NSModalPanelRunLoopMode);
        EXPECT_EQ(alert->textFormat(), Qt::PlainText);
        ASSERT_EQ(alert->buttons().size(), 1);
        alerts.push_back(
            (alert->text() + "|" + alert->informativeText() + "|" + alert->buttons().front()->text()).toStdString());
        if (onAlert) std::exchange(onAlert, nullptr)();
        if (alert != nullptr && !alert->buttons().isEmpty()) {
            QTest::mouseClick(alert->buttons().front(), Qt::LeftButton);
        }
    }

    QTimer alertWatch;
    QPointer<QMessageBox> alert;
    Strings alerts;
};

}  // namespace velmora::test
