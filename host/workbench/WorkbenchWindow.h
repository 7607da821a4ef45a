// The workbench's window: the attributes, the plugin's settings view, its log, and where its connection stands.
#pragma once

#include <QPointer>
#include <QTimer>
#include <QWidget>
#include <deque>

#include "host/workbench/LogFeed.h"
#include "host/workbench/SettingsDialogs.h"
#include "host/workbench/SettingsDocument.h"
#include "host/workbench/WorkbenchSession.h"

class QBoxLayout;
class QLabel;
class QPlainTextEdit;
class QPushButton;
class QSplitter;

namespace velmora {

class AttributesTable;

// Main thread. Closing it asks what becomes of unsaved settings.
class WorkbenchWindow final : public QWidget, private WorkbenchSession::Observer {
  public:
    // Neither is owned; both outlive the window. The host has loaded the plugin with the file's settings.
    WorkbenchWindow(PluginHost& host, SettingsFile& settingsFile);
    // Gives the plugin's view back, which is the plugin's own.
    ~WorkbenchWindow() override;

    WorkbenchSession& session() { return session_; }
    SettingsDocument& document() { return document_; }

  protected:
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    void sessionHasChanged() override;
    void serverWillBeAwaited() override;
    void serverWasAwaited() override;

    QBoxLayout* makeButtons();
    QWidget* makePanes();
    QWidget* makeAttributes();
    QWidget* makeSettings();
    QWidget* makeLog();
    void addButton(QBoxLayout& row, QPushButton*& button, const char* name, const char* text, const char* toolTip,
                   void (WorkbenchWindow::*action)());
    void start() { session_.start(false); }
    void startWithDefaults() { session_.start(true); }
    void stop() { session_.stop(); }
    void reconnect() { session_.reconnect(); }
    void refresh() { session_.refresh(); }
    void load();
    void save();
    void endEditing();
    void arrangeForWidth(int width);
    void showLog(const std::deque<LogFeed::Line>& lines);
    void showSituation();
    // The plugin does not tell of edits in its settings view, so the window looks now and then.
    void showDocument();
    void showDoubts();

    LogFeed logFeed_;
    WorkbenchSession session_;
    SettingsDialogs dialogs_;
    SettingsDocument document_;
    AttributesTable* attributesTable_ = nullptr;
    QPointer<QWidget> settingsView_;
    QLabel* situation_ = nullptr;
    QLabel* outcome_ = nullptr;
    QLabel* notice_ = nullptr;
    QLabel* doubts_ = nullptr;
    QPlainTextEdit* log_ = nullptr;
    QBoxLayout* buttonRows_ = nullptr;
    QSplitter* sides_ = nullptr;
    QPushButton* startButton_ = nullptr;
    QPushButton* startWithDefaultsButton_ = nullptr;
    QPushButton* stopButton_ = nullptr;
    QPushButton* reconnectButton_ = nullptr;
    QPushButton* refreshButton_ = nullptr;
    QPushButton* loadButton_ = nullptr;
    QPushButton* saveButton_ = nullptr;
    QTimer documentWatch_;
    int awaiting_ = 0;       // calls that wait for the server
    bool isAsking_ = false;  // the person, in a dialog
};

}  // namespace velmora
