// Finds what is probably a mistake in a switch plugin's settings. The plugin takes them as they come, a missing number
// as 0, so the owner of the file has to tell. Main thread.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "platform/foundation/PropertyList.h"

namespace velmora {

// One sentence for each doubt, without a full stop, that names the entry (from 1) and the key; of very many the first,
// and how many more there are. `settings` are the plugin's, `foreign` the entries of the file that are not. Empty for a
// plugin that has no configured outputs in its settings.
std::vector<std::string> doubtsAboutSettings(const DictionaryReference& settings,
                                             const PropertyListDictionary& foreign);
// The same for default inputs that a matrix with this many inputs does not have: they are not routed.
std::vector<std::string> doubtsAboutDefaults(const DictionaryReference& settings, std::size_t inputs);

}  // namespace velmora
