// The keys of a switch plugin's settings, as far as the host looks into them. The host is an outsider: it shares the
// protocol headers with a plugin and nothing else, so these are copies of its own. A plugin may have none of them.
#pragma once

#include "platform/foundation/PropertyList.h"

namespace velmora {

inline constexpr const char* kSelectedDeviceName = "selectedDeviceName";
inline constexpr const char* kAvailableDevices = "availableDevices";
inline constexpr const char* kConfiguredOutputs = "configuredOutputs";
// Of an entry of the configured outputs.
inline constexpr const char* kLabel = "label";
inline constexpr const char* kOutputType = "outputType";
inline constexpr const char* kOutputNumber = "outputNumber";
inline constexpr const char* kDefaultInputNumber = "defaultInputNumber";
// What stands under "outputType".
inline constexpr const char* kOutput = "output";

// Null when there is no list under the key.
inline ArrayReference listForKey(const DictionaryReference& settings, std::string_view key) {
    const PropertyList* const value = valueForKey(settings, key);
    return value != nullptr ? value->array() : nullptr;
}

}  // namespace velmora
