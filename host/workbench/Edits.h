// What was edited in the settings since the plugin built its attributes from them. It takes edits over when it builds
// them the next time; until then an attribute routes the output that it was built for, whatever its label says now.
#pragma once

#include <QString>
#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>

#include "platform/foundation/PropertyList.h"

namespace velmora {

struct ConfiguredOutput {
    std::string label;
    std::int64_t defaultInput = 0;
    friend bool operator==(const ConfiguredOutput&, const ConfiguredOutput&) = default;
};

// By number, counted from 0; of two entries with the same number the later one, as the plugin has it.
using ConfiguredOutputs = std::map<std::int64_t, ConfiguredOutput>;
ConfiguredOutputs configuredOutputsIn(const DictionaryReference& settings);

// How many outputs differ, and one of them in words; "" for no difference. Where a label has gone to another output,
// that is the one that is told.
struct Edits {
    std::size_t count = 0;
    QString example;
    std::set<std::string> labels;  // that the attributes were built with, of those that differ
};
Edits editsBetween(const ConfiguredOutputs& built, const ConfiguredOutputs& now);

}  // namespace velmora
