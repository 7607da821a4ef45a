// The view to edit the names of the lamps in, where the plugin is built with Qt's widgets; otherwise there is none.
#pragma once

#include <functional>
#include <string>
#include <vector>

#ifdef HAS_SETTINGS_VIEW
#include <QLineEdit>
#include <QPointer>
#endif

class QWidget;

class SettingsView {
  public:
    using Names = std::vector<std::string>;
    explicit SettingsView(std::function<void(const Names&)> edited) : edited_(std::move(edited)) {}

#ifdef HAS_SETTINGS_VIEW
    SettingsView(const SettingsView&) = delete;
    SettingsView& operator=(const SettingsView&) = delete;
    ~SettingsView();
    // The same view each time; null without a window system.
    QWidget* widget(const Names& names);
    void show(const Names& names);

  private:
    QPointer<QLineEdit> field_;  // the host's window may take it along when it closes
#else
    QWidget* widget(const Names&) {
        return nullptr;
    }
    void show(const Names&) {}

  private:
#endif
    std::function<void(const Names&)> edited_;
};
