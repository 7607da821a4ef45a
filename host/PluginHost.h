// The host's side of the plugin: loads its bundle, makes the plugin object, keeps its settings, and lets go of
// everything in order.
#pragma once

#include <QtGlobal>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "host/GuardedPlugin.h"
#include "host/SettingsFile.h"
#include "platform/foundation/NSBundle.h"
#include "platform/foundation/Result.h"
#include "plugin/VelmoraNodePluginProtocol.h"
#include "plugin/VelmoraNodePluginStatusProtocol.h"

namespace velmora {

// The warning that belongs wherever starting the plugin with defaults is offered or done.
inline constexpr const char* kWhatDefaultsDo = QT_TRANSLATE_NOOP(
    "Words",
    "each time its device connects, also when it merely restarts or is announced anew, by whomever, all outputs are "
    "routed to their defaults over the operator's routes");

// Main thread only. Needs an application object, with or without windows.
class PluginHost final : private VelmoraNodePluginProtocol_Delegate, private VelmoraNodePluginStatusProtocol_Observer {
  public:
    // The file is not owned and outlives the host.
    explicit PluginHost(SettingsFile& settingsFile);
    PluginHost(const PluginHost&) = delete;
    PluginHost& operator=(const PluginHost&) = delete;
    // Unloads; a failure shows in the log only.
    ~PluginHost() override;

    // Loads the bundle, makes the plugin and hands it its saved settings.
    Result<void> load(const std::filesystem::path& bundle);
    // Writes changed settings, stops the plugin, releases it, and only then ends what its bundle has begun. Does all of
    // this also when the settings cannot be written; the first failure is told.
    Result<void> unload();

    // Only while loaded.
    VelmoraNodePluginProtocol& plugin() const { return *plugin_; }

    // Where the plugin's connection stands, and what came of the value that the host has read or set last; when the
    // plugin tells of another one, there was no answer. None where the plugin does not tell, or tells in a version that
    // this host does not know.
    std::optional<NodePluginConnectionStatus> connectionStatus() const;
    std::optional<NodePluginOutcome> lastOutcome() const;

    // Whether the plugin wants to start. One that did not is stopped all the same before it is released.
    bool start(bool setCurrentValuesToDefaults);
    void stop();
    bool isStarted() const { return started_; }
    bool isStartedWithDefaults() const { return started_ && startedWithDefaults_; }

    // Called at each change notice, inside the plugin's operation: it may look attributes up, and nothing more.
    // Null for none.
    void setAttributesObserver(std::function<void()> observer) { attributesObserver_ = std::move(observer); }

    // Called when one of the two above may have changed: through the event loop, never inside the plugin's operations.
    // Null for none.
    void setStatusObserver(std::function<void()> observer) { statusObserver_ = std::move(observer); }

    // Writes the settings to their file when the plugin has changed them.
    Result<void> saveSettings();

  private:
    void attributesChangedForPluginName(const std::string& pluginName) override;
    void statusChangedForPluginName(const std::string& pluginName) override;
    void observeStatus(VelmoraNodePluginStatusProtocol_Observer* observer);

    SettingsFile& settingsFile_;
    std::shared_ptr<NSBundle> bundle_;
    std::shared_ptr<GuardedPlugin> plugin_;
    std::shared_ptr<VelmoraNodePluginStatusProtocol> status_;  // the same object; null when it must not be used
    bool mustBeStopped_ = false;
    bool started_ = false;
    bool startedWithDefaults_ = false;
    std::function<void()> attributesObserver_;
    std::function<void()> statusObserver_;
};

}  // namespace velmora
