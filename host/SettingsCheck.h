// Finds mistakes in a switch plugin's settings. The plugin takes them as they come, a missing number as 0, so the owner
// of the file has to tell. Main thread.
//
// Each gives one sentence for each mistake, without a full stop, that names the entry (from 1) and the key; of very
// many the first, and how many more there are.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "platform/foundation/PropertyListXML.h"

namespace velmora {

class SettingsFile;

// Why the value must not be handed to a plugin as its settings. Empty when it may.
std::vector<std::string> faultsOfSettings(const PropertyList& value);

// What is probably not meant so. The settings are the plugin's and the file is where they come from. For a plugin that
// has no configured outputs in its settings, only what the file shows by itself.
std::vector<std::string> doubtsAboutSettings(const DictionaryReference& settings, const SettingsFile& file);
// The same for outputs, and for default inputs, that a matrix of this size does not have: they are not routed.
std::vector<std::string> doubtsAboutOutputs(const DictionaryReference& settings, std::size_t outputs);
std::vector<std::string> doubtsAboutDefaults(const DictionaryReference& settings, std::size_t inputs);

// The size of a matrix; 0 where it is not known.
struct MatrixSize {
    std::size_t inputs = 0;
    std::size_t outputs = 0;
};
// Faults and doubts of a settings file, without a plugin.
std::vector<std::string> mistakesIn(const PropertyListDocument& document, const MatrixSize& size);

}  // namespace velmora
