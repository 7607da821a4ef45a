// The protocol between the automation host and its node plugins. A host needs this header and the platform library,
// nothing else.
//
// Loading: NSBundle::bundleWithPath, load(kVelmoraNodePluginProtocolVersion), makePrincipalObject, then a
// dynamic_pointer_cast of the result to VelmoraNodePluginProtocol. The host holds the plugin by counting and releases
// it before it unloads the bundle.
//
// Threads: every operation runs on the main thread and one at a time; look-ups (attributeNames and the five that read
// an attribute's record) may be made from any thread. Reading or setting a current value asks the switch server and
// waits for its answer, ten seconds at most for each command. No operation throws.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/foundation/PropertyList.h"
#include "platform/foundation/Text.h"

class QWidget;

namespace velmora {

// Raised whenever this header, or a platform header that it relies on, changes incompatibly.
inline constexpr std::uint32_t kVelmoraNodePluginProtocolVersion = 1;

// The host's callback object.
class VelmoraNodePluginProtocol_Delegate {
  public:
    virtual ~VelmoraNodePluginProtocol_Delegate() = default;
    // The attributes of the named plugin, or their records, may have changed. Always on the main thread; the plugin
    // waits for it to return.
    virtual void attributesChangedForPluginName(const std::string& pluginName) = 0;
};

class VelmoraNodePluginProtocol {
  public:
    virtual ~VelmoraNodePluginProtocol() = default;

    // Starts the plugin; with true, default values are applied each time its device has connected. Answers a status, 0
    // for success.
    virtual std::int32_t startAndSetCurrentValuesToDefaults(bool setCurrentValuesToDefaults) = 0;
    virtual void stop() = 0;

    // Not owned; null for none. The host clears it before the object goes away.
    virtual void setDelegate(VelmoraNodePluginProtocol_Delegate* delegate) = 0;
    virtual VelmoraNodePluginProtocol_Delegate* delegate() const = 0;

    // The settings that the host keeps for the plugin. An empty dictionary stands for no saved settings; null is taken
    // as empty.
    virtual void setDefaultSettings(const DictionaryReference& settings) = 0;
    // A new dictionary; the lists in it may be the plugin's own and change later.
    virtual DictionaryReference defaultSettings() = 0;

    // The names of all attributes in the plugin's order; never null.
    virtual StringList attributeNames() const = 0;

    virtual std::string pluginName() const = 0;
    virtual std::optional<std::string> pluginVersionString() const = 0;

    // None for an unknown attribute.
    virtual std::optional<std::string> displayNameOfAttributeWithName(const std::string& name) const = 0;
    virtual std::optional<std::string> typeOfAttributeWithName(const std::string& name) const = 0;
    // Asks the device; "" when there is no answer to be had.
    virtual std::string currentValueOfAttributeWithName(const std::string& name) = 0;
    virtual std::optional<std::string> defaultValueOfAttributeWithName(const std::string& name) const = 0;
    virtual std::optional<std::string> directionOfAttributeWithName(const std::string& name) const = 0;
    virtual StringList possibleValuesOfAttributeWithName(const std::string& name) const = 0;

    // 0 when the value was handed to the device, -1 when it was refused (the log says why).
    virtual std::int32_t setValueForAttributeWithName(const std::string& value, const std::string& name) = 0;

    // A view to edit the settings in, owned by the plugin; null when it has none or the host has no window system.
    virtual QWidget* settingsView() = 0;
};

}  // namespace velmora
