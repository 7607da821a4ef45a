// Where plugins are found: the folders of VELMORA_PLUGIN_PATH, the one beside this program, and the one where this
// program was to be installed. Nothing here runs a plugin's code.
#pragma once

#include <filesystem>
#include <optional>
#include <vector>

#include "platform/foundation/Result.h"

namespace velmora {

// The program's own plugin, which it loads unless told otherwise.
inline constexpr const char* kUsualBundle = "VelmoraSwitch.bundle";

// The folders that are searched, the first one first, each once; some may not exist. Needs an application object.
std::vector<std::filesystem::path> bundleSearchPath();

// The bundles in them, in the same order, and by name within a folder.
std::vector<std::filesystem::path> bundlesInSearchPath();

// The bundle to load: the folder that was asked for, or the first of that name in the search path, with or without
// ".bundle"; when none was asked for, the usual one. A failure when the search path has none of that name.
Result<std::filesystem::path> findBundle(const std::optional<std::filesystem::path>& asked);

}  // namespace velmora
