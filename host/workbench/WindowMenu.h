// The window's menus, which have all that can be done to the plugin and its settings.
#pragma once

#include <QMenuBar>
#include <functional>
#include <vector>

class QTabWidget;

namespace velmora {

class WindowMenu final : public QMenuBar {
  public:
    struct Actions {
        std::function<void()> load, save, saveAs, quit;
        std::function<void()> start, startWithDefaults, stop, reconnect, refresh;
        std::function<void(bool on)> showSettings, showHistory, poll;
    };
    // Each action has an object name: that of its member above and "Action".
    explicit WindowMenu(const Actions& actions);

    // Adds an action for each of its pages.
    void addViews(QTabWidget& views);
    // What can be done now.
    void showState(bool isStarted, bool canAsk);
    QAction* action(const char* name) const { return findChild<QAction*>(name); }

  private:
    QAction* add(QMenu& menu, const char* name, const QString& text, const QKeySequence& keys,
                 const std::function<void()>& action);
    QAction* addSwitch(QMenu& menu, const char* name, const QString& text, const QKeySequence& keys,
                       const std::function<void(bool)>& action);

    QMenu* viewMenu_ = nullptr;
    // Of use while the plugin is stopped, and while it is started.
    std::vector<QAction*> stopped_;
    std::vector<QAction*> started_;
};

}  // namespace velmora
