// The host's side of the plugin: loads its bundle, makes the plugin object, keeps its settings, and lets go of
// everything in order.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "host/SettingsFile.h"
#include "platform/foundation/NSBundle.h"
#include "plugin/VelmoraNodePluginProtocol.h"

namespace velmora {

// Main thread only. Needs an application object, with or without windows.
class PluginHost final : private VelmoraNodePluginProtocol_Delegate {
  public:
    // The file is not owned and outlives the host.
    explicit PluginHost(SettingsFile& settingsFile);
    PluginHost(const PluginHost&) = delete;
    PluginHost& operator=(const PluginHost&) = delete;
    // Unloads; what went wrong with that shows in the log only.
    ~PluginHost() override;

    // Loads the bundle, makes the plugin and hands it its saved settings. False and an `error` when it cannot be done.
    bool load(const std::filesystem::path& bundle, std::string* error);
    // Writes changed settings, stops the plugin, releases it, and only then unloads the bundle. False and an `error`
    // when the settings could not be written or the code could not be taken out of memory; all the rest is done all the
    // same.
    bool unload(std::string* error);

    // Only while loaded.
    VelmoraNodePluginProtocol& plugin() const { return *plugin_; }

    // False when the plugin does not want to start.
    bool start(bool setCurrentValuesToDefaults);
    void stop();
    bool isStarted() const { return started_; }

    // Called at each change notice, inside the plugin's operation: it may look attributes up and must not ask for more.
    // Null for none.
    void setAttributesObserver(std::function<void()> observer) { attributesObserver_ = std::move(observer); }

    // Writes the settings to their file when the plugin has changed them. False and an `error` when that failed.
    bool saveSettings(std::string* error);

  private:
    void attributesChangedForPluginName(const std::string& pluginName) override;

    SettingsFile& settingsFile_;
    std::shared_ptr<NSBundle> bundle_;
    std::shared_ptr<VelmoraNodePluginProtocol> plugin_;
    bool started_ = false;
    std::function<void()> attributesObserver_;
};

}  // namespace velmora
