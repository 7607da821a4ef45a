// The keys of a switch plugin's settings, as far as the host looks into them. The host is an outsider: it shares the
// protocol headers with a plugin and nothing else, so these are copies of its own. A plugin may have none of them.
#pragma once

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

}  // namespace velmora
