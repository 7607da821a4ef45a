// Settings as a host would keep them, and what the settings view says of some.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "platform/foundation/PropertyList.h"

namespace velmora::test {

struct Output {
    std::string label;
    std::int32_t number;
    std::int32_t defaultInput;
    friend bool operator==(const Output&, const Output&) = default;
};
inline void PrintTo(const Output& output, std::ostream* stream) {
    *stream << output.label << "/" << output.number << "/" << output.defaultInput;
}
using Outputs = std::vector<Output>;
using Strings = std::vector<std::string>;

inline const Outputs kFull{{"a", 7, 0}, {"b", 6, 0}, {"c", 5, 0}, {"d", 4, 0},
                           {"e", 3, 0}, {"f", 2, 0}, {"g", 1, 0}, {"h", 0, 0}};
inline const std::string kSameLabel =
    "Duplicate Label Error!|This label already exists, so please choose another one.|OK";
inline const std::string kSameNumber =
    "Duplicate Output Number Error!|This output number already exists, so please choose another one.|OK";

inline DictionaryReference settingsWith(const std::string& server, const Outputs& outputs) {
    auto list = std::make_shared<PropertyListArray>();
    for (const Output& output : outputs) {
        auto entry = std::make_shared<PropertyListDictionary>();
        entry->emplace("label", output.label);
        entry->emplace("outputType", "output");
        entry->emplace("outputNumber", output.number);
        entry->emplace("defaultInputNumber", output.defaultInput);
        list->emplace_back(std::move(entry));
    }
    auto settings = std::make_shared<PropertyListDictionary>();
    settings->emplace("selectedDeviceName", server);
    settings->emplace("configuredOutputs", std::move(list));
    return settings;
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

}  // namespace velmora::test
