// Settings as a host would keep them.
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
