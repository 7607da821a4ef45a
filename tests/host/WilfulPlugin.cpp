// A plugin that picks a server of its own accord when it is started, and says what the host does with it.
#include <cstdio>
#include <memory>

#include "platform/foundation/NSBundle.h"
#include "plugin/VelmoraNodePluginProtocol.h"

namespace {

using namespace velmora;
using OptionalText = std::optional<std::string>;

class WilfulPlugin final : public NSObject, public VelmoraNodePluginProtocol {
  public:
    ~WilfulPlugin() override { std::fputs("released\n", stderr); }

    std::int32_t startAndSetCurrentValuesToDefaults(bool) override {
        std::fputs("started\n", stderr);
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

  private:
    VelmoraNodePluginProtocol_Delegate* delegate_ = nullptr;
    DictionaryReference settings_ = std::make_shared<PropertyListDictionary>();
    std::int32_t calls_ = 0;
};

NSObject* makePrincipalObject(const std::shared_ptr<NSBundle>&) {
    return new WilfulPlugin;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) const VelmoraBundleEntryRecord VelmoraBundleEntry = {
    kVelmoraNodePluginProtocolVersion, "WilfulPlugin", makePrincipalObject};
