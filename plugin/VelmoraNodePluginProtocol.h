// The protocol between the automation host and its node plugins. Both are written in C++20 (with g++ 12 or clang 14 on
// Debian 12, or newer) and need the platform library. docs/sdk.md shows one of each.
//
// Loading: NSBundle::bundleWithPath, load(kVelmoraNodePluginProtocolVersion), makePrincipalObject, then a
// dynamic_pointer_cast of the result to VelmoraNodePluginProtocol. The host holds the plugin by counting and releases
// it before it unloads the bundle.
//
// The plugin's side: a module in NAME.bundle/Contents/ exports one symbol, VelmoraBundleEntry, the record of
// NSBundle.h. The Info.plist beside it has the texts CFBundleExecutable (the module's file name), NSPrincipalClass (the
// class of the record), CFBundleName, CFBundleIdentifier and CFBundleShortVersionString (as pluginVersionString answers
// it). The principal class derives from NSObject and this protocol, and from the optional ones that it offers, such as
// VelmoraNodePluginStatusProtocol.
//
// Threads: every operation runs on the main thread and one at a time; look-ups (attributeNames and the five that read
// an attribute's record) may be made from any thread. Reading or setting a current value asks the device and waits for
// its answer, ten seconds at most for each command. No operation throws. No callback comes from another thread.
//
// Life: settings before start; start and stop in turn, any number of times; stop before the last release. A plugin that
// is not started has no attributes, and refuses every value. The host may release the plugin inside a callback, so it
// keeps itself alive there until the callback has returned.
//
// What outlives the plugin: texts, lists from makeStringList and property lists from makeDictionary and makeArray,
// which live in the platform library. Views do not. After its release, nothing of the plugin may run any more: threads
// have ended, Qt's timers and connections have gone with the objects that they belong to. The module's code stays in
// memory after it is unloaded, so a timer that was forgotten does not run into nothing; but it must not use the plugin.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/foundation/PropertyList.h"
#include "platform/foundation/StringList.h"

class QWidget;

namespace velmora {

// Raised whenever this header, or a platform header that it relies on, changes incompatibly; a host loads only plugins
// of its own version. What is added comes as another optional protocol, never as another operation here.
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

    // The record of an attribute; none for an unknown one.
    virtual std::optional<std::string> displayNameOfAttributeWithName(const std::string& name) const = 0;
    // "MultipleValues": the value is one of the possible ones. "Double": a number, which a plugin that is not started
    // may call any attribute. A host treats an unknown type as a text.
    virtual std::optional<std::string> typeOfAttributeWithName(const std::string& name) const = 0;
    // Asks the device; "" when there is no answer to be had.
    virtual std::string currentValueOfAttributeWithName(const std::string& name) = 0;
    virtual std::optional<std::string> defaultValueOfAttributeWithName(const std::string& name) const = 0;
    // "Output": the host sets it and the device follows. There is no other so far.
    virtual std::optional<std::string> directionOfAttributeWithName(const std::string& name) const = 0;
    // In the plugin's order; null or empty where there is no list of them.
    virtual StringList possibleValuesOfAttributeWithName(const std::string& name) const = 0;

    // 0 when the value was handed to the device, -1 when it was refused (the log says why).
    virtual std::int32_t setValueForAttributeWithName(const std::string& value, const std::string& name) = 0;

    // A view to edit the settings in, owned by the plugin; null when it has none or the host has no window system.
    virtual QWidget* settingsView() = 0;
};

}  // namespace velmora
