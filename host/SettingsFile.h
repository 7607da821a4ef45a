// The file in which the host keeps the plugin's settings between its runs.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "platform/foundation/PropertyListXML.h"
#include "platform/foundation/Result.h"

namespace velmora {

// Main thread only. Failures name the file.
class SettingsFile {
  public:
    // Without a path there are no saved settings and nothing is ever written.
    explicit SettingsFile(std::optional<std::filesystem::path> path);
    const std::optional<std::filesystem::path>& path() const { return path_; }

    // Reads the file; one that does not exist stands for no saved settings, an empty dictionary. Fails when it cannot
    // be read or does not hold settings; nothing is written to it from then on.
    Result<void> read();
    const DictionaryReference& settings() const { return settings_; }
    // The keys that stand twice in it.
    const std::vector<PropertyListDocument::RepeatedKey>& repeatedKeys() const { return repeatedKeys_; }
    // Whether there was no file to read.
    bool isMissing() const { return isMissing_; }

    // Gives the plugin these settings in place of the file's. From here on nothing is written, because what a plugin
    // makes of a part must not replace the whole.
    void giveOnly(const DictionaryReference& part);

    // Takes what the plugin makes of the settings that it has just been given: from here on its changes count. Keys of
    // the file that it does not give back are not its own and stay in the file.
    void setPluginSettings(const DictionaryReference& settings);
    // The file's entries that are not the plugin's.
    const PropertyListDictionary& foreignEntries() const { return foreign_; }
    // Whether the plugin's settings differ from those that it was given or that were last written. The servers that are
    // seen at the moment ("availableDevices") do not count as a difference: they change without anyone's doing and are
    // never read back.
    bool isChanged(const DictionaryReference& settings) const;
    // Writes the plugin's settings to the file when they are changed, so that a run in which nobody changes a setting
    // leaves the file as its owner wrote it. When that fails, the file stands unchanged. It fails, too, where somebody
    // else has changed the file: there is nobody here to ask whose changes count. Other hosts cannot change it between
    // this look and the writing.
    Result<void> writeIfChanged(const DictionaryReference& settings);
    // The same, whoever has changed what. There must be a path, and it must have been read.
    Result<void> write(const DictionaryReference& settings);
    // Whether somebody else has changed, made or deleted the file since it was last read or written here. What is
    // changed after this was asked, while the file is written, is not noticed.
    bool isChangedOnDisk() const;

  private:
    Failure failure(const std::string& reason) const;

    std::optional<std::filesystem::path> path_;
    bool mayWrite_ = false;
    bool isMissing_ = false;
    DictionaryReference settings_;
    std::vector<PropertyListDocument::RepeatedKey> repeatedKeys_;
    PropertyListDictionary foreign_;
    // The settings that count as saved. A document, because the lists in a dictionary are the plugin's own and change.
    std::optional<std::string> known_;
    // As it was on the disk; none when there was no file.
    std::optional<std::string> contents_;
};

}  // namespace velmora
