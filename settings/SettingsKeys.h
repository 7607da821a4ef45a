// The keys of the settings that the host keeps for the plugin. Hosts have files with them: they never change.
#pragma once

namespace velmora {

inline constexpr const char* kSelectedDeviceNameKey = "selectedDeviceName";
inline constexpr const char* kConfiguredOutputsKey = "configuredOutputs";
inline constexpr const char* kAvailableDevicesKey = "availableDevices";

// Of each entry of the configured outputs.
inline constexpr const char* kLabelKey = "label";
inline constexpr const char* kOutputTypeKey = "outputType";
inline constexpr const char* kOutputNumberKey = "outputNumber";
inline constexpr const char* kDefaultInputNumberKey = "defaultInputNumber";

}  // namespace velmora
