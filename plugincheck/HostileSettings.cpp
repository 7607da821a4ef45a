#include "plugincheck/HostileSettings.h"

#include <cstdint>
#include <functional>
#include <limits>
#include <utility>

namespace velmora {

namespace {

// Settings may be long; their beginning has places of every kind.
constexpr std::size_t kMaximumPlaces = 48;
constexpr std::size_t kMaximumElements = 3;  // of each list
// With what is around it, the value must stay within the bounds of a document.
constexpr int kDepth = 48;
constexpr std::size_t kHugeTextBytes = 1 << 20;
constexpr std::size_t kHugeListValues = 20'000;

constexpr const char* kUnknownKey = "there is no such key";

PropertyList listAround(PropertyList value) {
    auto list = makeArray();
    list->push_back(std::move(value));
    return list;
}

PropertyList dictionaryAround(PropertyList value) {
    auto dictionary = makeDictionary();
    dictionary->emplace(kUnknownKey, std::move(value));
    return dictionary;
}

PropertyList deep(PropertyList (*around)(PropertyList)) {
    PropertyList value = "at the bottom";
    for (int i = 0; i < kDepth; ++i) {
        value = around(std::move(value));
    }
    return value;
}

PropertyList hugeList() {
    auto list = makeArray();
    for (std::size_t i = 0; i < kHugeListValues; ++i) {
        list->emplace_back("value");
    }
    return list;
}

DictionaryReference withUnknownKey(const DictionaryReference& settings) {
    const auto copy = shallowCopy(settings);
    copy->emplace(kUnknownKey, "");
    return copy;
}

// Hands over copies of the whole, one for each place in this part of it.
using Use = std::function<void(PropertyList)>;
void replaceInEachPlace(const PropertyList& part, const PropertyList& value, const Use& use) {
    use(value);
    if (const auto dictionary = part.dictionary()) {
        for (const auto& [key, held] : *dictionary) {
            replaceInEachPlace(held, value, [&, &key = key](PropertyList replaced) {
                const auto copy = shallowCopy(dictionary);
                copy->insert_or_assign(key, std::move(replaced));
                use(copy);
            });
        }
    }
    if (const auto list = part.array()) {
        for (std::size_t i = 0; i < std::min(list->size(), kMaximumElements); ++i) {
            replaceInEachPlace((*list)[i], value, [&](PropertyList replaced) {
                const auto copy = makeArray();
                *copy = *list;
                (*copy)[i] = std::move(replaced);
                use(copy);
            });
        }
    }
}

}  // namespace

std::vector<PropertyList> hostileValues() {
    constexpr auto kLowest = std::numeric_limits<std::int64_t>::min();
    constexpr auto kHighest = std::numeric_limits<std::int64_t>::max();
    auto everyType = makeArray();
    *everyType = {PropertyList("text"), PropertyList(std::int64_t{-1}), PropertyList(true),
                  PropertyList(0.5),    PropertyList(makeArray()),      PropertyList(makeDictionary())};
    auto emptyKey = makeDictionary();
    emptyKey->emplace("", everyType);
    return {"",
            "\t\n\r \xC2\x85 \xE2\x80\xAE %s %n %@ ../../../../etc/passwd",
            std::string(kHugeTextBytes, 'x'),
            kLowest,
            kHighest,
            std::int64_t{-1},
            true,
            -1e308,
            makeArray(),
            makeDictionary(),
            PropertyList(everyType),
            PropertyList(emptyKey),
            hugeList(),
            deep(listAround),
            deep(dictionaryAround)};
}

std::vector<DictionaryReference> withValueInEachPlace(const DictionaryReference& settings, const PropertyList& value) {
    std::vector<DictionaryReference> all;
    replaceInEachPlace(withUnknownKey(settings), value, [&](const PropertyList& replaced) {
        const auto dictionary = replaced.dictionary();
        // Settings are a dictionary, so the whole of them is no place.
        if (dictionary != nullptr && dictionary != value.dictionary() && all.size() < kMaximumPlaces) {
            all.push_back(dictionary);
        }
    });
    return all;
}

DictionaryReference withValueEverywhere(const DictionaryReference& settings, const PropertyList& value) {
    auto copy = withUnknownKey(settings);
    for (auto& [key, held] : *copy) {
        held = value;
    }
    return copy;
}

}  // namespace velmora
