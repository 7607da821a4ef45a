// Settings that no plugin wants, all of which the document of a property list can hold.
#pragma once

#include <vector>

#include "platform/foundation/PropertyList.h"

namespace velmora {

// Of every type: empty, huge, deep, with control characters.
std::vector<PropertyList> hostileValues();

// Copies of the settings. In each the value stands in another place: under a key of theirs or one that nobody knows, or
// somewhere in the lists and dictionaries below.
std::vector<DictionaryReference> withValueInEachPlace(const DictionaryReference& settings, const PropertyList& value);

// A copy with the value under each key.
DictionaryReference withValueEverywhere(const DictionaryReference& settings, const PropertyList& value);

}  // namespace velmora
