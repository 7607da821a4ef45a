#include "host/SettingsCheck.h"

#include <algorithm>
#include <array>
#include <limits>
#include <map>
#include <utility>

#include "host/Quotes.h"
#include "host/SettingsKeys.h"

namespace velmora {

namespace {

constexpr std::size_t kMostDoubts = 20;
constexpr std::array<std::string_view, 4> kKeysOfEntry = {kLabel, kOutputType, kOutputNumber, kDefaultInputNumber};

using Doubts = std::vector<std::string>;

Doubts firstOf(Doubts doubts) {
    if (doubts.size() <= kMostDoubts) return doubts;
    const std::size_t more = doubts.size() - kMostDoubts;
    doubts.resize(kMostDoubts);
    doubts.push_back("the settings hold " + std::to_string(more) + " more doubts");
    return doubts;
}

std::string entryName(std::size_t index, const DictionaryReference& entry) {
    return "entry " + std::to_string(index + 1) + " of \"configuredOutputs\" (" +
           inQuotes(textForKey(entry, kLabel).value_or("")) + ")";
}

void checkNumber(Doubts& doubts, const std::string& name, const DictionaryReference& entry, const char* key) {
    const PropertyList* const value = valueForKey(entry, key);
    const std::int64_t number = integerForKey(entry, key);
    const std::string taken = "; the plugin takes it for " + std::to_string(number);
    if (value == nullptr) {
        doubts.push_back(name + " has no " + inQuotes(key) + taken);
    } else if (!value->isInteger()) {
        doubts.push_back(name + ": " + inQuotes(key) + " is no integer" + taken);
    } else if (number < 0 || number > std::numeric_limits<std::int32_t>::max()) {
        doubts.push_back(name + ": " + inQuotes(key) + " is " + std::to_string(number) +
                         ", which is no number of an output or input");
    }
}

}  // namespace

std::vector<std::string> doubtsAboutSettings(const DictionaryReference& settings,
                                             const PropertyListDictionary& foreign) {
    const ArrayReference outputs = listForKey(settings, kConfiguredOutputs);
    if (outputs == nullptr) return {};
    Doubts doubts;
    for (const auto& [key, value] : foreign) {
        doubts.push_back("the settings have the key " + inQuotes(key) + ", which the plugin does not know");
    }
    // The entries where each was seen first, counted from 1.
    std::map<std::int64_t, std::size_t> numbers;
    std::map<std::string, std::size_t> labels;
    for (std::size_t i = 0; i < outputs->size(); ++i) {
        const DictionaryReference entry = (*outputs)[i].dictionary();
        if (entry == nullptr) continue;  // the plugin skips it, too
        const std::string name = entryName(i, entry);
        for (const auto& [key, value] : *entry) {
            if (std::find(kKeysOfEntry.begin(), kKeysOfEntry.end(), key) == kKeysOfEntry.end())
                doubts.push_back(name + " has the key " + inQuotes(key) + ", which the plugin does not know");
        }
        const PropertyList* const type = valueForKey(entry, kOutputType);
        if (type != nullptr && *type != PropertyList(kOutput))
            doubts.push_back(name + ": \"outputType\" is not the text \"output\"");
        checkNumber(doubts, name, entry, kOutputNumber);
        checkNumber(doubts, name, entry, kDefaultInputNumber);
        if (const auto [at, isNew] = numbers.emplace(integerForKey(entry, kOutputNumber), i + 1); !isNew)
            doubts.push_back(name + " has the same output as entry " + std::to_string(at->second) +
                             " (\"outputNumber\"); only the last one becomes an attribute");
        if (const auto [at, isNew] = labels.emplace(textForKey(entry, kLabel).value_or(""), i + 1); !isNew)
            doubts.push_back(name + " has the same \"label\" as entry " + std::to_string(at->second));
    }
    return firstOf(std::move(doubts));
}

std::vector<std::string> doubtsAboutDefaults(const DictionaryReference& settings, std::size_t inputs) {
    const ArrayReference outputs = listForKey(settings, kConfiguredOutputs);
    if (outputs == nullptr) return {};
    Doubts doubts;
    for (std::size_t i = 0; i < outputs->size(); ++i) {
        const DictionaryReference entry = (*outputs)[i].dictionary();
        const std::int64_t input = integerForKey(entry, kDefaultInputNumber);
        if (input < static_cast<std::int64_t>(inputs)) continue;
        doubts.push_back(entryName(i, entry) + ": \"defaultInputNumber\" " + std::to_string(input) +
                         " is beyond the matrix, which has " + std::to_string(inputs) + " inputs, counted from 0");
    }
    return firstOf(std::move(doubts));
}

}  // namespace velmora
