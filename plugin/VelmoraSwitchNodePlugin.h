// The plugin object that the host loads and talks to: one attribute for each configured output of the switch server
// that its settings name.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "discovery/VelmoraSwitchController.h"
#include "platform/foundation/NSBundle.h"
#include "platform/foundation/NSObject.h"
#include "platform/foundation/Text.h"
#include "platform/threads/AtomicReference.h"
#include "plugin/AttributeRecord.h"
#include "plugin/PluginStatus.h"
#include "plugin/VelmoraNodePluginProtocol.h"
#include "plugin/VelmoraNodePluginStatusProtocol.h"
#include "settings/SwitchSettingsViewController.h"

namespace velmora {

// Made with std::make_shared or by the bundle. Main thread, one operation at a time; look-ups from any thread. The host
// may release it at any moment, also inside its callback: the operation that is running then finishes first.
class VelmoraSwitchNodePlugin final : public NSObject,
                                      public VelmoraNodePluginProtocol,
                                      public VelmoraNodePluginStatusProtocol,
                                      private VelmoraSwitchControllerDelegate,
                                      private SwitchSettingsViewControllerDelegate {
  public:
    explicit VelmoraSwitchNodePlugin(std::shared_ptr<NSBundle> bundle, TelnetTimeLimits limits = {});
    // The host has called stop by now. If not, the connection is closed all the same, and no callback follows.
    ~VelmoraSwitchNodePlugin() override;

    // The host protocol.
    std::int32_t startAndSetCurrentValuesToDefaults(bool setCurrentValuesToDefaults) override;
    void stop() override;
    void setDelegate(VelmoraNodePluginProtocol_Delegate* delegate) override { delegate_ = delegate; }
    VelmoraNodePluginProtocol_Delegate* delegate() const override { return delegate_; }
    void setDefaultSettings(const DictionaryReference& settings) override;
    DictionaryReference defaultSettings() override;
    StringList attributeNames() const override;
    std::string pluginName() const override { return _pluginName; }
    std::optional<std::string> pluginVersionString() const override;
    std::optional<std::string> displayNameOfAttributeWithName(const std::string& name) const override;
    std::optional<std::string> typeOfAttributeWithName(const std::string& name) const override;
    std::string currentValueOfAttributeWithName(const std::string& name) override;
    std::optional<std::string> defaultValueOfAttributeWithName(const std::string& name) const override;
    std::optional<std::string> directionOfAttributeWithName(const std::string& name) const override;
    StringList possibleValuesOfAttributeWithName(const std::string& name) const override;
    std::int32_t setValueForAttributeWithName(const std::string& value, const std::string& name) override;
    QWidget* settingsView() override;

    // The status protocol.
    std::uint32_t statusProtocolVersion() const override { return kVelmoraNodePluginStatusProtocolVersion; }
    NodePluginConnectionStatus connectionStatus() const override { return status_.connection(); }
    NodePluginOutcome lastOutcome() const override;
    void setStatusObserver(VelmoraNodePluginStatusProtocol_Observer* observer) override {
        status_.setObserver(observer);
    }

    // Replaced as a whole; any thread.
    std::shared_ptr<const AttributeDictionary> attributes() const { return attributes_.load(); }
    void setAttributes(std::shared_ptr<const AttributeDictionary> attributes) {
        attributes_.store(std::move(attributes));
    }
    // The list itself, shared with the settings editor, which edits it in place on the main thread. Never null.
    ArrayReference configuredOutputs() const { return configuredOutputs_.load(); }
    void setConfiguredOutputs(ArrayReference outputs) { configuredOutputs_.store(std::move(outputs)); }

    // Rebuilds the attributes from the configured outputs and what the switcher answers, then tells the host, and waits
    // for it.
    void updateAttributes() override;
    // Routes every configured output to its default input.
    void setCurrentValuesToDefaults();
    // Hands the settings editor, if there is one, fresh settings.
    void updateSettingsView();
    void defaultSettingsHaveChanged() override;
    std::shared_ptr<TCPMatrixSwitcher> selectedDevice() override;

  private:
    void newMatrixSwitcherWithNameDidBecomeAvailable(const std::string& name) override;
    void matrixSwitcherWithNameDidDisappear(const std::string& name) override;
    void matrixDimensionsChangedTo(MatrixSwitcher& switcher, NSSize size) override;
    void connectionStatusChanged() override;

    bool isStarted() const { return started_; }
    std::shared_ptr<const AttributeDictionary> buildAttributes();
    AttributeRecord makeRecord(TCPMatrixSwitcher& switcher, std::int64_t output, const DictionaryReference& entry,
                               AttributeDictionary& attributes, const StringList& possibleValues);
    template <typename Text>
    std::optional<std::string> textOfAttribute(const std::string& name, Text text, const char* whenStopped) const;
    void selectSwitcher(const std::optional<std::string>& name);
    // What an attribute is read from or set on: the switcher, and the number of the output that the name, after its
    // prefix, means. Without a switcher, why not has been noted.
    struct Target {
        std::shared_ptr<TCPMatrixSwitcher> switcher;
        std::int64_t output = 0;
    };
    Target targetOf(const std::string& name, std::string_view prefix);
    // Refuse to read or set an attribute, in the log and in the outcome: because there is none of that name, or because
    // a number is out of range, as every number is before the matrix is known.
    void refuseName(const std::string& name);
    void refuseNumber(const std::string& name, FormatOfOneInteger format, std::int64_t number);

    const std::string _pluginName;
    const std::shared_ptr<NSBundle> _bundle;
    const TelnetTimeLimits limits_;
    VelmoraNodePluginProtocol_Delegate* delegate_ = nullptr;
    AtomicReference<const AttributeDictionary> attributes_;
    AtomicReference<PropertyListArray> configuredOutputs_;
    bool _setValuesToDefaults = false;
    std::optional<std::string> _defaultSwitcherName;
    // Exists from start to stop.
    std::shared_ptr<VelmoraSwitchController> _switchController;
    // The same fact for look-ups on other threads.
    std::atomic<bool> started_{false};
    // Controllers that a start without a stop has replaced. They live as long as the plugin. Intended: the host is to
    // stop first, and what it holds of an earlier one stays valid.
    std::vector<std::shared_ptr<VelmoraSwitchController>> replacedControllers_;
    std::shared_ptr<SwitchSettingsViewController> _settingsViewController;
    PluginStatus status_;
};

}  // namespace velmora
