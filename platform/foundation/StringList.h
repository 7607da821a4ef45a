// A list of texts that may be kept and read anywhere.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace velmora {

// Immutable once it is handed out; null means none. Any thread.
using StringList = std::shared_ptr<const std::vector<std::string>>;
// Made in code that is never unloaded, so that a host may keep what a plugin gave it longer than the plugin.
StringList makeStringList(std::vector<std::string> texts = {});

}  // namespace velmora
