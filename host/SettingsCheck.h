// What in a switch plugin's settings is probably not meant. The plugin takes them as they come, a missing number as 0,
// so whoever owns the file tells. Main thread.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "platform/foundation/PropertyList.h"

namespace velmora {

// One sentence for each doubt, without a full stop, naming entry (from 1) and key; of very many the first ones, and how
// many more. `settings` are the plugin's, `foreign` the file's entries that are not. Empty for a plugin that has no
// configured outputs in its settings.
std::vector<std::string> doubtsAboutSettings(const DictionaryReference& settings,
                                             const PropertyListDictionary& foreign);
// The same of default inputs that a matrix of so many inputs does not have: they are not routed.
std::vector<std::string> doubtsAboutDefaults(const DictionaryReference& settings, std::size_t inputs);

}  // namespace velmora
