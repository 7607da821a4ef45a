// A plugin that is not ours. It picks a server of its own accord when it is started, and says what the host does with
// it. If the environment variable RELAYS is there, it has nothing to do with servers, but has two relays and a level.
// "late" ones are there a while after the start, "stuck" ones ignore what is set, "numbered" ones have a number before
// each value, "unwilling" ones do not start, "endless" ones have settings that contain themselves, "edited" ones change
// their settings while somebody edits the file EDITED, "null" ones have neither settings nor names, "throwing" ones
// throw when they are read, of "misnamed" ones the status always tells of the second, and of "lost" ones it says so.
// The status of the others is of a version to come: a host does not call what it does not know.
#include <QTimer>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <stdexcept>

#include "platform/foundation/NSBundle.h"
#include "platform/foundation/Text.h"
#include "plugin/VelmoraNodePluginProtocol.h"
#include "plugin/VelmoraNodePluginStatusProtocol.h"

namespace {

using namespace velmora;
using OptionalText = std::optional<std::string>;

bool relaysAre(const char* what) {
    return qgetenv("RELAYS").contains(what);
}
void mustBeKnown() {
    if (!relaysAre("lost") && !relaysAre("misnamed")) std::abort();
}

class WilfulPlugin final : public NSObject, public VelmoraNodePluginProtocol, public VelmoraNodePluginStatusProtocol {
  public:
    ~WilfulPlugin() override {
        settings_->clear();
        std::fputs("released\n", stderr);
    }

    std::int32_t startAndSetCurrentValuesToDefaults(bool) override {
        if (relaysAre("unwilling")) return -1;
        std::fputs("started\n", stderr);
        if (relaysAre("edited")) {
            settings_->insert_or_assign("Level", "0.5");
            std::ofstream(std::getenv("EDITED"), std::ios::app) << "<!-- edited -->";
        }
        if (hasRelays_) {
            QTimer::singleShot(relaysAre("late") ? 300 : 0, &context_, [this] {
                values_ = {{"Level", "0.5"}, {"Relay 1", "Off"}, {"Relay 2", "On"}};
                delegate_->attributesChangedForPluginName(pluginName());
            });
            return 0;
        }
        // Still pending when the program ends; then the application lets go of what the closure holds.
        QTimer::singleShot(3'600'000, [held = settings_] {});
        settings_->insert_or_assign("selectedDeviceName", "Picked");
        if (delegate_ != nullptr) delegate_->attributesChangedForPluginName(pluginName());
        return 0;
    }
    void stop() override {
        std::fputs("stopped\n", stderr);
        settings_->clear();
        values_.clear();
    }
    void setDelegate(VelmoraNodePluginProtocol_Delegate* delegate) override { delegate_ = delegate; }
    VelmoraNodePluginProtocol_Delegate* delegate() const override { return delegate_; }
    void setDefaultSettings(const DictionaryReference& settings) override {
        if (!hasRelays_) settings_ = shallowCopy(settings);
    }
    // Its own, as the lists in a plugin's settings may be, and never the same servers twice.
    DictionaryReference defaultSettings() override {
        if (relaysAre("null")) return nullptr;
        if (relaysAre("endless")) *settings_ = {{"This", settings_}, {"The same", settings_}};
        if (hasRelays_) return settings_;
        settings_->insert_or_assign("availableDevices", std::make_shared<PropertyListArray>(1, PropertyList(++calls_)));
        return settings_;
    }
    StringList attributeNames() const override {
        if (relaysAre("null")) return nullptr;
        std::vector<std::string> names;
        for (const auto& [name, value] : values_)
            names.push_back(name);
        return makeStringList(names);
    }
    std::string pluginName() const override { return "Wilful\nPlugin"; }
    OptionalText pluginVersionString() const override { return std::nullopt; }
    OptionalText displayNameOfAttributeWithName(const std::string&) const override { return std::nullopt; }
    OptionalText typeOfAttributeWithName(const std::string& name) const override {
        return name == "Level" ? "Double" : "MultipleValues";
    }
    std::string currentValueOfAttributeWithName(const std::string& name) override {
        if (relaysAre("throwing")) throw std::runtime_error("no such relay");
        return values_[name];
    }
    OptionalText defaultValueOfAttributeWithName(const std::string&) const override { return std::nullopt; }
    OptionalText directionOfAttributeWithName(const std::string&) const override { return std::nullopt; }
    StringList possibleValuesOfAttributeWithName(const std::string& name) const override {
        if (name == "Level") return nullptr;
        if (!relaysAre("numbered")) return makeStringList({"Off", "On"});
        std::vector<std::string> values;
        while (values.size() < 10'000) {
            values.push_back(stringWithFormat("%04li", values.size() + 1));
        }
        return makeStringList(values);
    }
    std::int32_t setValueForAttributeWithName(const std::string& value, const std::string& name) override {
        if (!relaysAre("stuck")) values_[name] = value;
        return 0;
    }
    QWidget* settingsView() override { return nullptr; }

    std::uint32_t statusProtocolVersion() const override {
        return kVelmoraNodePluginStatusProtocolVersion + (relaysAre("lost") || relaysAre("misnamed") ? 0 : 1);
    }
    NodePluginConnectionStatus connectionStatus() const override {
        const auto state = relaysAre("lost") ? NodePluginConnectionState::failed : NodePluginConnectionState::connected;
        return mustBeKnown(), NodePluginConnectionStatus{state, "", "The cable is out", {}};
    }
    NodePluginOutcome lastOutcome() const override {
        return mustBeKnown(), NodePluginOutcome{NodePluginAnswer::answered, "Relay 2", "", {}};
    }
    void setStatusObserver(VelmoraNodePluginStatusProtocol_Observer*) override { mustBeKnown(); }

  private:
    const bool hasRelays_ = std::getenv("RELAYS") != nullptr;
    VelmoraNodePluginProtocol_Delegate* delegate_ = nullptr;
    DictionaryReference settings_ = makeDictionary();
    std::map<std::string, std::string> values_;
    std::int32_t calls_ = 0;
    QObject context_;
};

NSObject* makePrincipalObject(const std::shared_ptr<NSBundle>&) {
    return new WilfulPlugin;
}

}  // namespace

const VelmoraBundleEntryRecord VelmoraBundleEntry = {kVelmoraNodePluginProtocolVersion, "WilfulPlugin",
                                                     makePrincipalObject};
