// The workbench's window: where the connection stands, views of the attributes, the plugin's settings view in a drawer,
// what has happened, and its log.
#pragma once

#include <QPointer>
#include <QTimer>
#include <QWidget>
#include <set>
#include <string>

#include "host/workbench/ConnectionBar.h"
#include "host/workbench/HistoryPane.h"
#include "host/workbench/LogFeed.h"
#include "host/workbench/SettingsDialogs.h"
#include "host/workbench/SettingsDocument.h"
#include "host/workbench/WindowMenu.h"
#include "host/workbench/WorkbenchSession.h"
#include "host/workbench/panel/RoutingState.h"

class QBoxLayout;
class QCheckBox;
class QLabel;
class QPushButton;
class QSplitter;
class QTabWidget;

namespace velmora {

class AttributesTable;
class LinesLabel;
class NoticeStrip;

// Main thread. Before it closes, it asks what to do with unsaved settings.
class WorkbenchWindow final : public QWidget, private WorkbenchSession::Observer {
  public:
    // Neither is owned; both outlive the window. The host has loaded the plugin with the file's settings.
    WorkbenchWindow(PluginHost& host, SettingsFile& settingsFile);
    // Gives the plugin's view back, which is the plugin's own.
    ~WorkbenchWindow() override;

    WorkbenchSession& session() { return session_; }
    SettingsDocument& document() { return document_; }

    // How the person has arranged the window, to be kept between runs.
    DictionaryReference arrangement() const;
    void arrange(const DictionaryReference& arrangement);

  protected:
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;

  private:
    void sessionHasChanged() override;
    void serverWillBeAwaited(const QString& what) override;
    void serverWasAwaited() override;

    WindowMenu* makeMenu();
    QBoxLayout* makeTopRow();
    QWidget* makePanes();
    // The one place where views are added.
    QWidget* makeViews();
    QWidget* makeAttributes();
    QWidget* makeSettings();

    void load();
    void save();
    void saveAs();
    void saveHistory();
    void told(bool isSaved);
    void reconnect();
    void startWithDefaults();
    void disarm();
    void apply();
    void endEditing();
    void arrangeForWidth(int width);
    void showSituation();
    void showNotices();
    QString armedText();
    static QString editedText(const Edits& edits);
    QString hintText() const;
    void markEdited(const Edits& edits);
    // The plugin does not tell about edits in its settings view, so the window looks now and then.
    void showDocument();

    WorkbenchSession session_;
    RoutingState routing_;
    SettingsDialogs dialogs_;
    SettingsDocument document_;
    AttributesTable* attributesTable_ = nullptr;
    QPointer<QWidget> settingsView_;
    WindowMenu* menu_ = nullptr;
    ConnectionBar* connection_ = nullptr;
    QLabel* age_ = nullptr;
    NoticeStrip* notices_ = nullptr;
    LinesLabel* outcome_ = nullptr;
    QLabel* notice_ = nullptr;
    QBoxLayout* topRow_ = nullptr;
    QTabWidget* views_ = nullptr;
    QWidget* drawer_ = nullptr;
    HistoryPane* history_ = nullptr;
    QSplitter* sides_ = nullptr;
    QSplitter* halves_ = nullptr;
    QPushButton* refresh_ = nullptr;
    QPushButton* reconnect_ = nullptr;
    LogFeed logFeed_;  // writes to the history pane
    QTimer documentWatch_;
    std::set<std::string> editedLabels_;  // of attributes that are marked
    QString savedOutcome_;                // what is no longer true once the settings are edited
    int awaiting_ = 0;                    // calls that wait for the server
    bool isAsking_ = false;               // the person, in a dialog
};

}  // namespace velmora
