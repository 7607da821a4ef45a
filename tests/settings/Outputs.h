// Configured outputs as values to compare, and the texts of the alerts.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "tests/plugin/Settings.h"

namespace velmora::test {

using Strings = std::vector<std::string>;
using Outputs = std::vector<Output>;

inline bool operator==(const Output& left, const Output& right) {
    return left.label == right.label && left.number == right.number && left.defaultInput == right.defaultInput;
}
inline void PrintTo(const Output& output, std::ostream* stream) {
    *stream << output.label << "/" << output.number << "/" << output.defaultInput;
}
inline Outputs outputsIn(const DictionaryReference& settings) {
    Outputs all;
    for (const PropertyList& one : *valueForKey(settings, "configuredOutputs")->array()) {
        const auto entry = one.dictionary();
        all.push_back({textForKey(entry, "label").value_or("(none)"), intForKey(entry, "outputNumber"),
                       intForKey(entry, "defaultInputNumber")});
    }
    return all;
}

inline const Outputs kFull{{"a", 7, 0}, {"b", 6, 0}, {"c", 5, 0}, {"d", 4, 0},
                           {"e", 3, 0}, {"f", 2, 0}, {"g", 1, 0}, {"h", 0, 0}};
inline const std::string kNoOutput = "Output Error!|All the outputs are already defined as used.|OK";
inline const std::string kSameLabel =
    "Duplicate Label Error!|This label already exists, so please choose another one.|OK";
inline const std::string kSameNumber =
    "Duplicate Output Number Error!|This output number already exists, so please choose another one.|OK";

}  // namespace velmora::test
