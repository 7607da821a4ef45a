// Plugins that are not ours. One picks a server of its own accord when it is started, and says what the host does with
// it. The other, which the environment variable RELAYS asks for, has nothing to do with servers: two relays and a
// level.
#include <QTimer>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>

#include "platform/foundation/NSBundle.h"
#include "plugin/VelmoraNodePluginProtocol.h"
#include "plugin/VelmoraNodePluginStatusProtocol.h"

namespace {

using namespace velmora;
using OptionalText = std::optional<std::string>;

class WilfulPlugin : public NSObject, public VelmoraNodePluginProtocol {
  public:
    ~WilfulPlugin() override { std::fputs("released\n", stderr); }

    std::int32_t startAndSetCurrentValuesToDefaults(bool) override {
        std::fputs("started\n", stderr);
        // Still pending when the program ends; then the application lets go of what the closure holds.
        QTimer::singleShot(3'600'000, [held = settings_] {});
        settings_->insert_or_assign("selectedDeviceName", "Picked");
        if (delegate_ != nullptr) delegate_->attributesChangedForPluginName(pluginName());
        return 0;
    }
    void stop() override {
        std::fputs("stopped\n", stderr);
        settings_->clear();
    }
    void setDelegate(VelmoraNodePluginProtocol_Delegate* delegate) override { delegate_ = delegate; }
    VelmoraNodePluginProtocol_Delegate* delegate() const override { return delegate_; }
    void setDefaultSettings(const DictionaryReference& settings) override { settings_ = shallowCopy(settings); }
    // Its own, as the lists in a plugin's settings may be, and never the same servers twice.
    DictionaryReference defaultSettings() override {
        settings_->insert_or_assign("availableDevices", std::make_shared<PropertyListArray>(1, PropertyList(++calls_)));
        return settings_;
    }
    StringList attributeNames() const override { return std::make_shared<const std::vector<std::string>>(); }
    std::string pluginName() const override { return "Wilful\nPlugin"; }
    OptionalText pluginVersionString() const override { return std::nullopt; }
    OptionalText displayNameOfAttributeWithName(const std::string&) const override { return std::nullopt; }
    OptionalText typeOfAttributeWithName(const std::string&) const override { return std::nullopt; }
    std::string currentValueOfAttributeWithName(const std::string&) override { return ""; }
    OptionalText defaultValueOfAttributeWithName(const std::string&) const override { return std::nullopt; }
    OptionalText directionOfAttributeWithName(const std::string&) const override { return std::nullopt; }
    StringList possibleValuesOfAttributeWithName(const std::string&) const override { return nullptr; }
    std::int32_t setValueForAttributeWithName(const std::string&, const std::string&) override { return -1; }
    QWidget* settingsView() override { return nullptr; }

  protected:
    VelmoraNodePluginProtocol_Delegate* delegate_ = nullptr;

  private:
    DictionaryReference settings_ = std::make_shared<PropertyListDictionary>();
    std::int32_t calls_ = 0;
};

// RELAYS says how they are: "late" ones are there a while after the start, "stuck" ones ignore what is set, "numbered"
// ones have a number before each value, "unwilling" ones do not start, "endless" ones have settings that contain
// themselves, and of "lost" ones the status says so. That of the others is of a version to come: a host does not call
// what it does not know.
class RelayPlugin final : public WilfulPlugin, public VelmoraNodePluginStatusProtocol {
  public:
    ~RelayPlugin() override { settings_->clear(); }

    std::int32_t startAndSetCurrentValuesToDefaults(bool) override {
        if (is("unwilling")) return -1;
        QTimer::singleShot(is("late") ? 300 : 0, &context_, [this] {
            values_ = {{"Level", "0.5"}, {"Relay 1", "Off"}, {"Relay 2", "On"}};
            delegate_->attributesChangedForPluginName(pluginName());
        });
        return 0;
    }
    void stop() override {
        if (is("unwilling")) WilfulPlugin::stop();
        values_.clear();
    }
    void setDefaultSettings(const DictionaryReference&) override {}
    DictionaryReference defaultSettings() override {
        if (is("endless")) *settings_ = {{"This", settings_}, {"The same", settings_}};
        return settings_;
    }
    StringList attributeNames() const override {
        std::vector<std::string> names;
        for (const auto& [name, value] : values_)
            names.push_back(name);
        return makeStringList(names);
    }
    OptionalText typeOfAttributeWithName(const std::string& name) const override {
        return name == "Level" ? "Double" : "MultipleValues";
    }
    std::string currentValueOfAttributeWithName(const std::string& name) override { return values_[name]; }
    StringList possibleValuesOfAttributeWithName(const std::string& name) const override {
        if (name == "Level") return nullptr;
        if (!is("numbered")) return makeStringList({"Off", "On"});
        std::vector<std::string> values;
        while (values.size() < 10'000) {
            values.push_back(stringWithFormat("%04li", values.size() + 1));
        }
        return makeStringList(values);
    }
    std::int32_t setValueForAttributeWithName(const std::string& value, const std::string& name) override {
        if (!is("stuck")) values_[name] = value;
        return 0;
    }

    std::uint32_t statusProtocolVersion() const override {
        return kVelmoraNodePluginStatusProtocolVersion + (is("lost") ? 0 : 1);
    }
    NodePluginConnectionStatus connectionStatus() const override {
        mustBeKnown();
        return {NodePluginConnectionState::failed, "", "The cable is out", {}};
    }
    NodePluginOutcome lastOutcome() const override { return mustBeKnown(), NodePluginOutcome{}; }
    void setStatusObserver(VelmoraNodePluginStatusProtocol_Observer*) override { mustBeKnown(); }

  private:
    static bool is(const char* what) { return qgetenv("RELAYS").contains(what); }
    static void mustBeKnown() { is("lost") ? void() : std::abort(); }

    std::map<std::string, std::string> values_;
    const DictionaryReference settings_ = makeDictionary();
    QObject context_;
};

NSObject* makePrincipalObject(const std::shared_ptr<NSBundle>&) {
    if (std::getenv("RELAYS") != nullptr) return new RelayPlugin;
    return new WilfulPlugin;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) const VelmoraBundleEntryRecord VelmoraBundleEntry = {
    kVelmoraNodePluginProtocolVersion, "WilfulPlugin", makePrincipalObject};
