// The questions about the settings that a window asks its person, as modal dialogs.
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
    std::optional<std::filesystem::path> fileToLoad() override;
    std::optional<std::filesystem::path> fileToSave() override;
    void hearOfFailure(const Failure& failure) override;

  private:
    QWidget& window_;
};

}  // namespace velmora
