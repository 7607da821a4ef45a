// A plugin without hardware: lamps, each an attribute that is on or off.
#include <velmora/NSBundle.h>
#include <velmora/SystemLog.h>
#include <velmora/VelmoraNodePluginProtocol.h>

#include <atomic>
#include <set>

#include "LampNames.h"
#include "SettingsView.h"

using namespace velmora;
using Text = std::optional<std::string>;

class LampPlugin final : public NSObject, public VelmoraNodePluginProtocol {
  public:
    explicit LampPlugin(std::shared_ptr<NSBundle> bundle) : bundle_(std::move(bundle)) {}

    std::int32_t startAndSetCurrentValuesToDefaults(bool setCurrentValuesToDefaults) override {
        if (setCurrentValuesToDefaults) lit_.clear();
        started_ = true;
        updateAttributes();
        return 0;
    }
    void stop() override { started_ = false, names_ = makeStringList(); }
    void setDelegate(VelmoraNodePluginProtocol_Delegate* delegate) override { delegate_ = delegate; }
    VelmoraNodePluginProtocol_Delegate* delegate() const override { return delegate_; }
    void setDefaultSettings(const DictionaryReference& settings) override {
        settings_ = shallowCopy(settings);
        view_.show(lampNames(settings_));
        updateAttributes();
    }
    DictionaryReference defaultSettings() override { return shallowCopy(settings_); }

    StringList attributeNames() const override { return names_; }
    std::string pluginName() const override { return "Example Lamps"; }
    Text pluginVersionString() const override {
        return bundle_->objectForInfoDictionaryKey("CFBundleShortVersionString");
    }
    Text displayNameOfAttributeWithName(const std::string& name) const override {
        return ifKnown(name, "Lamp " + name);
    }
    Text typeOfAttributeWithName(const std::string& name) const override { return ifKnown(name, "MultipleValues"); }
    Text defaultValueOfAttributeWithName(const std::string& name) const override { return ifKnown(name, "Off"); }
    Text directionOfAttributeWithName(const std::string& name) const override { return ifKnown(name, "Output"); }
    StringList possibleValuesOfAttributeWithName(const std::string& name) const override {
        return ifKnown(name, "") ? makeStringList({"Off", "On"}) : nullptr;
    }
    std::string currentValueOfAttributeWithName(const std::string& name) override {
        return ifKnown(name, lit_.contains(name) ? "On" : "Off").value_or("");
    }
    std::int32_t setValueForAttributeWithName(const std::string& value, const std::string& name) override {
        if (!ifKnown(name, value) || (value != "On" && value != "Off")) {
            NSLogLine("There is no lamp \"" + name + "\" that can be \"" + value + "\" (LampPlugin)");
            return -1;
        }
        value == "On" ? void(lit_.insert(name)) : void(lit_.erase(name));
        return 0;
    }
    QWidget* settingsView() override { return view_.widget(lampNames(settings_)); }

  private:
    Text ifKnown(const std::string& name, const std::string& text) const {
        return std::ranges::count(*names_.load(), name) > 0 ? Text(text) : std::nullopt;
    }
    void updateAttributes() {
        if (!started_) return;
        const auto alive = shared_from_this();  // the host may release the plugin inside its callback
        names_ = makeStringList(lampNames(settings_));
        if (delegate_ != nullptr) delegate_->attributesChangedForPluginName(pluginName());
    }

    const std::shared_ptr<NSBundle> bundle_;
    VelmoraNodePluginProtocol_Delegate* delegate_ = nullptr;
    DictionaryReference settings_ = makeDictionary();
    bool started_ = false;
    std::atomic<StringList> names_ = makeStringList();  // look-ups come from any thread
    std::set<std::string> lit_;
    SettingsView view_{[this](const SettingsView::Names& names) {
        (*settings_)["lamps"] = std::make_shared<PropertyListArray>(names.begin(), names.end());
        updateAttributes();
    }};
};

// The one symbol that a host looks for.
const VelmoraBundleEntryRecord VelmoraBundleEntry = {
    kVelmoraNodePluginProtocolVersion, "LampPlugin",
    [](const std::shared_ptr<NSBundle>& bundle) -> NSObject* { return new (std::nothrow) LampPlugin(bundle); }};
