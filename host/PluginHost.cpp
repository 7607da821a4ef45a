#include "host/PluginHost.h"

#include "platform/foundation/NSLog.h"

namespace velmora {

PluginHost::PluginHost(SettingsFile& settingsFile) : settingsFile_(settingsFile) {}

PluginHost::~PluginHost() {
    std::string error;
    if (!unload(&error)) NSLog("%@ (Velmora Host)", error);
}

bool PluginHost::load(const std::filesystem::path& bundle, std::string* error) {
    bundle_ = NSBundle::bundleWithPath(bundle, error);
    if (bundle_ == nullptr || !bundle_->load(kVelmoraNodePluginProtocolVersion, error)) return false;
    const auto object = bundle_->makePrincipalObject(error);
    if (object == nullptr) return false;
    plugin_ = std::dynamic_pointer_cast<VelmoraNodePluginProtocol>(object);
    if (plugin_ == nullptr) {
        *error = "the principal class of " + bundle.string() + " is no node plugin";
        return false;
    }
    status_ = std::dynamic_pointer_cast<VelmoraNodePluginStatusProtocol>(object);
    if (status_ != nullptr && status_->statusProtocolVersion() != kVelmoraNodePluginStatusProtocolVersion) {
        status_ = nullptr;
        NSLog("The plugin tells its status in a version that is not known (Velmora Host)");
    }
    plugin_->setDelegate(this);
    if (status_ != nullptr) status_->setStatusObserver(this);
    plugin_->setDefaultSettings(settingsFile_.settings());
    settingsFile_.setPluginSettings(plugin_->defaultSettings());
    return true;
}

bool PluginHost::unload(std::string* error) {
    bool good = true;
    if (plugin_ != nullptr) {
        // Before the stop: a plugin that is not started no longer knows the servers.
        good = saveSettings(error);
        stop();
        plugin_->setDelegate(nullptr);
        if (status_ != nullptr) status_->setStatusObserver(nullptr);
        status_ = nullptr;
        plugin_ = nullptr;
    }
    if (bundle_ != nullptr && bundle_->isLoaded()) good = bundle_->unload(good ? error : nullptr) && good;
    bundle_ = nullptr;
    return good;
}

bool PluginHost::start(bool setCurrentValuesToDefaults) {
    if (!started_) stop();  // what a start that failed may have left
    startedWithDefaults_ = setCurrentValuesToDefaults;
    mustBeStopped_ = true;  // even when it fails, so that the plugin is stopped before it is released
    started_ = plugin_->startAndSetCurrentValuesToDefaults(setCurrentValuesToDefaults) == 0;
    return started_;
}

void PluginHost::stop() {
    if (!mustBeStopped_) return;
    mustBeStopped_ = started_ = false;
    plugin_->stop();
}

bool PluginHost::saveSettings(std::string* error) {
    return settingsFile_.writeIfChanged(plugin_->defaultSettings(), error);
}

std::optional<NodePluginConnectionStatus> PluginHost::connectionStatus() const {
    return status_ != nullptr ? std::optional(status_->connectionStatus()) : std::nullopt;
}

std::optional<NodePluginOutcome> PluginHost::lastOutcome() const {
    return status_ != nullptr ? std::optional(status_->lastOutcome()) : std::nullopt;
}

void PluginHost::attributesChangedForPluginName(const std::string&) {
    if (attributesObserver_) attributesObserver_();
}

void PluginHost::statusChangedForPluginName(const std::string&) {
    if (statusObserver_) statusObserver_();
}

}  // namespace velmora
