// Asks a person about the settings, and what goes with them, in modal dialogs.
#pragma once

#include "host/workbench/SettingsDocument.h"

class QWidget;

namespace velmora {

// Main thread.
class SettingsDialogs final : public SettingsDocument::Person {
  public:
    // The window is not owned and outlives the dialogs.
    explicit SettingsDialogs(QWidget& window) : window_(window) {}

    SettingsDocument::Unsaved whatAboutUnsavedSettings() override;
    bool mayOverwriteChangedFile(const std::filesystem::path& path) override;
    std::optional<std::filesystem::path> fileToLoad(const std::filesystem::path& folder) override;
    std::optional<std::filesystem::path> fileToSave(const std::filesystem::path& folder) override;
    void hearOfFailure(const Failure& failure) override;
    std::optional<std::filesystem::path> fileForHistory(const std::filesystem::path& folder);

    // Whether something may be done that connects anew, although that routes this many destinations to their defaults.
    bool mayRouteDefaults(const QString& question, int destinations);
    // Whether the plugin may be started with defaults.
    bool mayStartWithDefaults();
    // Whether the plugin may be restarted without defaults. `cost` is a sentence or "".
    bool mayDisarm(const QString& cost);

  private:
    QWidget& window_;
};

}  // namespace velmora
