#include "host/PluginHost.h"

#include "platform/foundation/NSLog.h"

namespace velmora {

PluginHost::PluginHost(SettingsFile& settingsFile) : settingsFile_(settingsFile) {}

PluginHost::~PluginHost() {
    if (const auto unloaded = unload(); !unloaded) NSLog("%@ (Velmora Host)", unloaded.failure().reason);
}

Result<void> PluginHost::load(const std::filesystem::path& bundle) {
    const auto opened = NSBundle::bundleWithPath(bundle);
    if (!opened) return opened.failure();
    bundle_ = *opened;
    if (const auto loaded = bundle_->load(kVelmoraNodePluginProtocolVersion); !loaded) return loaded;
    const auto made = endingWhereItThrows("makePrincipalObject", [this] { return bundle_->makePrincipalObject(); });
    if (!made) return made.failure();
    const std::shared_ptr<NSObject>& object = *made;
    auto plugin = std::dynamic_pointer_cast<VelmoraNodePluginProtocol>(object);
    if (plugin == nullptr) return Failure{"its principal class is no node plugin"};
    plugin_ = std::make_shared<GuardedPlugin>(std::move(plugin));
    status_ = std::dynamic_pointer_cast<VelmoraNodePluginStatusProtocol>(object);
    const auto version = [this] { return status_->statusProtocolVersion(); };
    if (status_ != nullptr &&
        endingWhereItThrows("statusProtocolVersion", version) != kVelmoraNodePluginStatusProtocolVersion) {
        status_ = nullptr;
        NSLog("The plugin tells its status in a version that is not known (Velmora Host)");
    }
    plugin_->setDelegate(this);
    observeStatus(this);
    plugin_->setDefaultSettings(settingsFile_.settings());
    settingsFile_.setPluginSettings(plugin_->defaultSettings());
    return {};
}

Result<void> PluginHost::unload() {
    Result<void> outcome;
    if (plugin_ != nullptr) {
        // Before the stop, because a plugin that is not started no longer knows the servers.
        outcome = saveSettings();
        stop();
        plugin_->setDelegate(nullptr);
        observeStatus(nullptr);
        status_ = nullptr;
        plugin_ = nullptr;
    }
    const Result<void> ended = bundle_ != nullptr ? bundle_->unload() : Result<void>();
    if (outcome) outcome = ended;
    bundle_ = nullptr;
    return outcome;
}

bool PluginHost::start(bool setCurrentValuesToDefaults) {
    if (!started_) stop();  // clears what a failed start may have left
    startedWithDefaults_ = setCurrentValuesToDefaults;
    mustBeStopped_ = true;  // also when it fails: a plugin must be stopped before it is released
    started_ = plugin_->startAndSetCurrentValuesToDefaults(setCurrentValuesToDefaults) == 0;
    return started_;
}

void PluginHost::stop() {
    if (!mustBeStopped_) return;
    mustBeStopped_ = started_ = false;
    plugin_->stop();
}

Result<void> PluginHost::saveSettings() {
    return settingsFile_.writeIfChanged(plugin_->defaultSettings());
}

std::optional<NodePluginConnectionStatus> PluginHost::connectionStatus() const {
    if (status_ == nullptr) return std::nullopt;
    return endingWhereItThrows("connectionStatus", [this] { return status_->connectionStatus(); });
}

std::optional<NodePluginOutcome> PluginHost::lastOutcome() const {
    if (status_ == nullptr) return std::nullopt;
    auto outcome = endingWhereItThrows("lastOutcome", [this] { return status_->lastOutcome(); });
    if (outcome.attributeName == plugin_->lastAttribute()) return outcome;
    return NodePluginOutcome{NodePluginAnswer::none, plugin_->lastAttribute(), "The plugin tells of another attribute",
                             outcome.moment};
}

void PluginHost::observeStatus(VelmoraNodePluginStatusProtocol_Observer* observer) {
    if (status_ == nullptr) return;
    endingWhereItThrows("setStatusObserver", [&] { status_->setStatusObserver(observer); });
}

void PluginHost::attributesChangedForPluginName(const std::string&) {
    if (attributesObserver_) attributesObserver_();
}

void PluginHost::statusChangedForPluginName(const std::string&) {
    if (statusObserver_) statusObserver_();
}

}  // namespace velmora
