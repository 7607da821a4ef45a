// Settings as a host would keep them.
#pragma once

#include <string>
#include <vector>

#include "platform/foundation/PropertyList.h"

namespace velmora::test {

struct Output {
    std::string label;
    std::int32_t number;
    std::int32_t defaultInput;
};

inline DictionaryReference settingsWith(const std::string& server, const std::vector<Output>& outputs) {
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

}  // namespace velmora::test
