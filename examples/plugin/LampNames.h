// The settings: a list "lamps" with the name of each lamp.
#pragma once

#include <velmora/PropertyList.h>

#include <algorithm>
#include <string>
#include <vector>

// Settings may be anybody's: what does not fit is left out, and without any lamp there is one.
inline std::vector<std::string> lampNames(const velmora::DictionaryReference& settings) {
    const velmora::PropertyList* const value = valueForKey(settings, "lamps");
    const velmora::ArrayReference list = value != nullptr ? value->array() : nullptr;
    std::vector<std::string> names;
    for (const auto& item : list != nullptr ? *list : velmora::PropertyListArray{}) {
        const std::string name = item.text().value_or("");
        if (!name.empty() && std::ranges::count(names, name) == 0) names.push_back(name);
    }
    return names.empty() ? std::vector<std::string>{"Studio"} : names;
}
