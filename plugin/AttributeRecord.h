// What the host may know of one attribute, as of the last rebuild.
#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "plugin/VelmoraNodePluginProtocol.h"

namespace velmora {

struct AttributeRecord {
    std::string attributeDirection;
    std::string attributeType;
    // One value text for each input, in input order; attributes with equal lists share one.
    StringList attributePossibleValues;
    std::string attributeDefaultValue;
    // As of the rebuild; the host's question is answered by the switcher instead.
    std::string attributeCurrentValue;
    std::string attributePluginName;
    std::string attributeDisplayName;
};

// Immutable once it is the plugin's.
struct AttributeDictionary {
    std::unordered_map<std::string, AttributeRecord> records;
    // The keys in the host's order. Never null.
    StringList names = makeStringList();
};

}  // namespace velmora
