#include "plugincheck/Trial.h"

#include <QTimer>
#include <algorithm>
#include <utility>

#include "host/Waiting.h"
#include "platform/foundation/Text.h"
#include "platform/threads/MainThread.h"

namespace velmora {

namespace {

constexpr std::chrono::milliseconds kShortly{200};
// Threads and the event loop raise no event for every condition.
constexpr std::chrono::milliseconds kLookTime{10};

std::string utf8(std::string text, const char* operation) {
    require(isValidUTF8(text), stringWithFormat("%@ gave a text that is not UTF-8: %@", operation, quotedText(text)));
    return text;
}

std::optional<std::string> utf8(std::optional<std::string> text, const char* operation) {
    return text ? utf8(*std::move(text), operation) : text;
}

}  // namespace

void failAfterException(const std::string& operation, const char* what) {
    fail(stringWithFormat("threw an exception in %@, which a plugin must not do: %@", operation, what));
}

void Listener::take(Notices& notices, const std::string& pluginName) {
    if (!MainThread::isCurrent()) {
        notices.onOtherThread = true;
        return;
    }
    ++notices.count;
    notices.pluginName = pluginName;
    notices.insideOperation = notices.insideOperation || operations > 0;
    notices.insideItself = notices.insideItself || telling_;
    // The hook may provoke a further notice, and that one another.
    if (telling_) return;
    telling_ = true;
    if (const auto& hook = &notices == &status ? onStatus : onAttributes) hook();
    telling_ = false;
}

bool Trial::Record::isUnknown() const {
    return !displayName && !type && !defaultValue && !direction &&
           (possibleValues == nullptr || possibleValues->empty());
}

Trial::Trial(const CheckOptions& options) : options_(options) {
    beginStep("loading the bundle", kHostTime);
    const auto opened = NSBundle::bundleWithPath(options.bundle);
    if (!opened) notApplicable(opened.failure().reason);
    bundle_ = *opened;
    if (const auto loaded = bundle_->load(kVelmoraNodePluginProtocolVersion); !loaded) {
        notApplicable(loaded.failure().reason);
    }
    makePlugin();
}

Trial::~Trial() = default;

void Trial::makePlugin() {
    release();
    beginStep("making the plugin", options_.operationTime);
    const auto made = failingWhereItThrows("making the plugin", [this] { return bundle_->makePrincipalObject(); });
    if (!made) notApplicable(made.failure().reason);
    plugin_ = std::dynamic_pointer_cast<Plugin>(*made);
    if (plugin_ == nullptr) notApplicable("its principal class is no node plugin");
    status_ = std::dynamic_pointer_cast<VelmoraNodePluginStatusProtocol>(*made);
    const auto version = [this] { return status_->statusProtocolVersion(); };
    if (status_ != nullptr &&
        during("statusProtocolVersion", kLookUpTime, version) != kVelmoraNodePluginStatusProtocolVersion) {
        status_ = nullptr;
    }
    setDelegate(&listener_);
    setGivenSettings();
}

std::int32_t Trial::start() {
    mustBeStopped_ = true;
    Plugin& plugin = *plugin_;
    return during("startAndSetCurrentValuesToDefaults",
                  [&] { return plugin.startAndSetCurrentValuesToDefaults(options_.set); });
}

void Trial::startOrEnd() {
    if (const auto status = start(); status != 0) {
        notApplicable(stringWithFormat("the plugin does not start (status %i); --settings may help", status));
    }
}

void Trial::stop() {
    mustBeStopped_ = false;
    Plugin& plugin = *plugin_;
    during("stop", [&] { plugin.stop(); });
}

void Trial::setDelegate(VelmoraNodePluginProtocol_Delegate* delegate) {
    during("setDelegate", kLookUpTime, [&] { plugin_->setDelegate(delegate); });
}

void Trial::setSettings(const DictionaryReference& settings) {
    Plugin& plugin = *plugin_;
    during("setDefaultSettings", [&] { plugin.setDefaultSettings(settings); });
}

void Trial::setGivenSettings() {
    setSettings(options_.settings != nullptr ? options_.settings : makeDictionary());
}

DictionaryReference Trial::settings() {
    Plugin& plugin = *plugin_;
    auto given = during("defaultSettings", [&] { return plugin.defaultSettings(); });
    require(given != nullptr, "defaultSettings gave null instead of a dictionary");
    return given;
}

std::vector<std::string> Trial::names() {
    const StringList given = during("attributeNames", kLookUpTime, [&] { return plugin_->attributeNames(); });
    require(given != nullptr, "attributeNames gave null, which it must never do");
    for (const std::string& name : *given) {
        utf8(name, "attributeNames");
    }
    return *given;
}

std::string Trial::name() {
    return utf8(during("pluginName", kLookUpTime, [&] { return plugin_->pluginName(); }), "pluginName");
}

Trial::Record Trial::record(const std::string& name) {
    const auto text = [&](const char* operation, auto lookUp) {
        return utf8(during(operation, kLookUpTime, [&] { return ((*plugin_).*lookUp)(name); }), operation);
    };
    Record record;
    record.displayName = text("displayNameOfAttributeWithName", &Plugin::displayNameOfAttributeWithName);
    record.type = text("typeOfAttributeWithName", &Plugin::typeOfAttributeWithName);
    record.defaultValue = text("defaultValueOfAttributeWithName", &Plugin::defaultValueOfAttributeWithName);
    record.direction = text("directionOfAttributeWithName", &Plugin::directionOfAttributeWithName);
    constexpr const char* kPossibleValues = "possibleValuesOfAttributeWithName";
    record.possibleValues =
        during(kPossibleValues, kLookUpTime, [&] { return plugin_->possibleValuesOfAttributeWithName(name); });
    if (record.possibleValues == nullptr) return record;
    for (const std::string& value : *record.possibleValues) {
        utf8(value, kPossibleValues);
    }
    return record;
}

std::string Trial::currentValue(const std::string& name) {
    constexpr const char* kOperation = "currentValueOfAttributeWithName";
    Plugin& plugin = *plugin_;
    return utf8(during(kOperation, [&] { return plugin.currentValueOfAttributeWithName(name); }), kOperation);
}

std::int32_t Trial::setValue(const std::string& value, const std::string& name) {
    constexpr const char* kOperation = "setValueForAttributeWithName";
    Plugin& plugin = *plugin_;
    const auto result = during(kOperation, [&] { return plugin.setValueForAttributeWithName(value, name); });
    require(result == 0 || result == -1,
            stringWithFormat("%@ answered %i; there is 0 for handed on and -1 for refused", kOperation, result));
    return result;
}

void Trial::useEverything() {
    require(!name().empty(), "pluginName is empty");
    constexpr const char* kVersion = "pluginVersionString";
    utf8(during(kVersion, kLookUpTime, [&] { return plugin_->pluginVersionString(); }), kVersion);
    std::vector<std::string> some = names();
    some.resize(std::min<std::size_t>(some.size(), 3));
    some.emplace_back(kUnknownName);
    for (const std::string& one : some) {
        record(one);
        currentValue(one);
    }
    setValue("no such value", kUnknownName);
    setSettings(settings());
    require(during("delegate", kLookUpTime, [&] { return plugin_->delegate(); }) == &listener_,
            "delegate does not give the delegate that was set");
    if (status_ == nullptr) return;
    during("connectionStatus", kLookUpTime, [&] { status_->connectionStatus(); });
    during("lastOutcome", kLookUpTime, [&] { status_->lastOutcome(); });
}

void Trial::setObserver(VelmoraNodePluginStatusProtocol_Observer* observer) {
    during("setStatusObserver", kLookUpTime, [&] { status_->setStatusObserver(observer); });
}

void Trial::requireNoticesOnMainThread() const {
    require(!listener_.attributes.onOtherThread, "the delegate was called on another thread than the main thread");
    require(!listener_.status.onOtherThread, "the observer was called on another thread than the main thread");
}

bool Trial::isAnswered() {
    if (status_ == nullptr) return true;
    const auto outcome = during("lastOutcome", kLookUpTime, [&] { return status_->lastOutcome(); });
    return outcome.answer == NodePluginAnswer::answered;
}

bool Trial::serveUntil(const std::function<bool()>& condition, std::chrono::milliseconds time) {
    const Step step("the event loop", time + std::max(kHostTime, options_.operationTime));
    QTimer lookAgain;
    lookAgain.start(kLookTime);
    return failingWhereItThrows("the event loop", [&] { return waitUntil(condition, time); });
}

void Trial::serveShortly() {
    serveUntil([] { return false; }, kShortly);
}

bool Trial::isConnected() const {
    return status_ == nullptr || status_->connectionStatus().state == NodePluginConnectionState::connected;
}

void Trial::waitForDevice() {
    serveUntil([this] { return status_ != nullptr && isConnected(); }, options_.wait);
    serveShortly();
}

std::vector<std::string> Trial::startAndWaitForNames() {
    startOrEnd();
    // A condition that is asked often: not a step each time.
    serveUntil(
        [this] {
            const StringList given = plugin_->attributeNames();
            return given != nullptr && !given->empty() && isConnected();
        },
        options_.wait);
    auto all = names();
    if (all.empty()) {
        notApplicable(stringWithFormat("the plugin had no attributes after %li ms; --settings or --wait may help",
                                       options_.wait.count()));
    }
    return all;
}

void Trial::release() {
    mustBeStopped_ = false;
    if (plugin_ == nullptr) return;
    const Step step("the release of the plugin", options_.operationTime);
    status_ = nullptr;
    // Gone before its destructor runs, which may call back.
    const auto gone = std::exchange(plugin_, nullptr);
}

void Trial::stopAndRelease() {
    if (plugin_ != nullptr) {
        if (mustBeStopped_) stop();
        setDelegate(nullptr);
        if (status_ != nullptr) setObserver(nullptr);
    }
    release();
    requireNoticesOnMainThread();
}

void Trial::finish() {
    stopAndRelease();
    beginStep("the end of what the bundle has begun", kHostTime);
    if (const auto ended = bundle_->unload(); !ended) fail(ended.failure().reason);
}

void Trial::finishAndUnload() {
    stopAndRelease();
    beginStep("unloading the bundle", kHostTime);
    if (const auto unloaded = bundle_->unload(); !unloaded) fail(unloaded.failure().reason);
}

}  // namespace velmora
