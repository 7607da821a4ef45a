// The file in which the host keeps the plugin's settings between its runs.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "platform/foundation/PropertyList.h"

namespace velmora {

// Main thread only.
class SettingsFile {
  public:
    // Without a path there are no saved settings and nothing is ever written.
    explicit SettingsFile(std::optional<std::filesystem::path> path);

    // Reads the file; one that does not exist stands for no saved settings, an empty dictionary. False and an `error`
    // that names the file when it cannot be read or does not hold settings; nothing is written to it from then on.
    bool read(std::string* error);
    const DictionaryReference& settings() const { return settings_; }

    // What the plugin makes of the settings that it has just been given: from here on its changes count.
    void setPluginSettings(const DictionaryReference& settings);
    // Writes the plugin's settings to the file when they differ from those that it was given or that were last written.
    // The servers that are seen at the moment ("availableDevices") do not count as a difference: they change without
    // anyone's doing and are never read back. So a run in which nobody changes a setting leaves the file as its owner
    // wrote it. False and an `error` when they cannot be written; the file then stands unchanged.
    bool writeIfChanged(const DictionaryReference& settings, std::string* error);

  private:
    std::optional<std::filesystem::path> path_;
    bool mayWrite_ = false;
    DictionaryReference settings_;
    // A document rather than the dictionary itself, whose lists are the plugin's own and change under our hands.
    std::optional<std::string> known_;
};

}  // namespace velmora
