// The plugin as a host has it: started, with saved settings that name a server and some of its outputs.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "plugin/VelmoraSwitchNodePlugin.h"

namespace velmora::bench {

// Main thread.
class PluginSession final : private VelmoraNodePluginProtocol_Delegate {
  public:
    PluginSession(const std::string& server, int configuredOutputs);
    PluginSession(const PluginSession&) = delete;
    PluginSession& operator=(const PluginSession&) = delete;
    ~PluginSession() override;

    // Serves the event loop until the host has been told of attributes that can be set; by then the connection is fully
    // set up. Throws Wrong when that does not happen.
    void waitForAttributes();
    // When that happened; none before.
    std::optional<std::chrono::steady_clock::time_point> toldAt() const { return toldAt_; }

    VelmoraSwitchNodePlugin& plugin() { return *plugin_; }
    // Valid once there are attributes.
    TCPMatrixSwitcher& switcher() { return *plugin_->selectedDevice(); }

  private:
    void attributesChangedForPluginName(const std::string& pluginName) override;

    const std::shared_ptr<VelmoraSwitchNodePlugin> plugin_;
    std::optional<std::chrono::steady_clock::time_point> toldAt_;
};

// The settings that a host keeps for the plugin. They have the first outputs, all with the first input as default.
DictionaryReference settingsFor(const std::string& server, int configuredOutputs);

}  // namespace velmora::bench
