// The workbench's window: the attributes, the plugin's settings view, its log, and where its connection stands.
#pragma once

#include <QPointer>
#include <QTimer>
#include <QWidget>
#include <vector>

#include "host/workbench/LogFeed.h"
#include "host/workbench/SettingsDialogs.h"
#include "host/workbench/SettingsDocument.h"
#include "host/workbench/WorkbenchSession.h"
#include "host/workbench/panel/RoutingState.h"

class QBoxLayout;
class QLabel;
class QPlainTextEdit;
class QPushButton;
class QSplitter;
class QTabWidget;

namespace velmora {

class AttributesTable;

// Main thread. Before it closes, it asks what to do with unsaved settings.
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
    // The one place where views are added.
    QWidget* makeViews();
    QWidget* makeAttributes();
    QWidget* makeSettings();
    QWidget* makeLog();
    void load();
    void save();
    void endEditing();
    void arrangeForWidth(int width);
    void showLog(const LogFeed::Lines& lines);
    void showSituation();
    // The plugin does not tell about edits in its settings view, so the window looks now and then.
    void showDocument();
    void showDoubts();

    LogFeed logFeed_;
    WorkbenchSession session_;
    RoutingState routing_;
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
    QTabWidget* views_ = nullptr;
    QSplitter* sides_ = nullptr;
    // Of use while the plugin is stopped, and while it is started.
    std::vector<QPushButton*> stoppedButtons_;
    std::vector<QPushButton*> startedButtons_;
    QTimer documentWatch_;
    int awaiting_ = 0;       // calls that wait for the server
    bool isAsking_ = false;  // the person, in a dialog
};

}  // namespace velmora
