// One attribute as the host may know it, as of the last rebuild.
#pragma once

#include <algorithm>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "plugin/VelmoraNodePluginProtocol.h"

namespace velmora {

// There may be hundreds of attributes of a thousand values each. So the texts that are the same for all are stored
// once, and a value text that is among the possible ones refers to it.
struct AttributeRecord {
    static constexpr const char* attributeDirection = "Output";
    static constexpr const char* attributeType = "MultipleValues";
    static constexpr const char* attributePluginName = "Velmora Switch";

    // One value text for each input, in input order; attributes with equal lists share one.
    StringList attributePossibleValues;
    // Among the possible values or the dictionary's other texts; never null.
    const std::string* attributeDefaultValue = nullptr;
    // As of the rebuild; the host's question is answered by the switcher instead.
    const std::string* attributeCurrentValue = nullptr;
    std::string attributeDisplayName;
};

// Immutable once it is the plugin's.
struct AttributeDictionary {
    AttributeDictionary() = default;
    AttributeDictionary(const AttributeDictionary&) = delete;
    AttributeDictionary& operator=(const AttributeDictionary&) = delete;

    // Null for an unknown name.
    const AttributeRecord* find(const std::string& name) const {
        // The names differ in their numbers only, so that their order is the plain one as well.
        const auto found = std::lower_bound(names->begin(), names->end(), name);
        return found != names->end() && *found == name ? &records[static_cast<std::size_t>(found - names->begin())]
                                                       : nullptr;
    }

    // In the host's order. Never null.
    StringList names = makeStringList();
    // The records of the names, in the same order.
    std::vector<AttributeRecord> records;
    // The value texts of records that are not among the possible ones.
    std::deque<std::string> otherTexts;
};

}  // namespace velmora
