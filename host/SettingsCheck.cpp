#include "host/SettingsCheck.h"

#include <algorithm>
#include <array>
#include <limits>
#include <map>
#include <optional>
#include <utility>

#include "host/Quotes.h"
#include "host/SettingsKeys.h"

namespace velmora {

namespace {

constexpr std::size_t kMostDoubts = 20;
constexpr std::array<std::string_view, 4> kKeysOfEntry = {kLabel, kOutputType, kOutputNumber, kDefaultInputNumber};

class Doubts {
  public:
    void add(std::string doubt) {
        if (++count_ <= kMostDoubts) texts_.push_back(std::move(doubt));
    }
    std::vector<std::string> texts() && {
        if (count_ > kMostDoubts)
            texts_.push_back("the settings hold " + std::to_string(count_ - kMostDoubts) + " more doubts");
        return std::move(texts_);
    }

  private:
    std::vector<std::string> texts_;
    std::size_t count_ = 0;
};

std::string entryName(std::size_t index, const DictionaryReference& entry) {
    return "entry " + std::to_string(index + 1) + " of \"configuredOutputs\" (" +
           inQuotes(textForKey(entry, kLabel).value_or("")) + ")";
}

void checkNumber(Doubts& doubts, const std::string& name, const DictionaryReference& entry, const char* key) {
    const PropertyList* const value = valueForKey(entry, key);
    const std::int64_t number = integerForKey(entry, key);
    const std::string taken = "; the plugin takes it for " + std::to_string(number);
    if (value == nullptr) {
        doubts.add(name + " has no " + inQuotes(key) + taken);
    } else if (!value->isInteger()) {
        doubts.add(name + ": " + inQuotes(key) + " is no integer" + taken);
    } else if (number < 0 || number > std::numeric_limits<std::int32_t>::max()) {
        doubts.add(name + ": " + inQuotes(key) + " is " + std::to_string(number) +
                   ", which is no number of an output or input");
    }
}

// Where each value was seen first.
template <typename Value>
class Seen {
  public:
    // The place before; none the first time.
    std::optional<std::size_t> before(const Value& value, std::size_t index) {
        const auto [place, isNew] = places_.emplace(value, index);
        return isNew ? std::nullopt : std::optional(place->second);
    }

  private:
    std::map<Value, std::size_t> places_;
};

// Null when the settings have none.
ArrayReference configuredOutputs(const DictionaryReference& settings) {
    const PropertyList* const value = valueForKey(settings, kConfiguredOutputs);
    return value != nullptr ? value->array() : nullptr;
}

}  // namespace

std::vector<std::string> doubtsAboutSettings(const DictionaryReference& settings,
                                             const PropertyListDictionary& foreign) {
    const ArrayReference outputs = configuredOutputs(settings);
    if (outputs == nullptr) return {};
    Doubts doubts;
    for (const auto& [key, value] : foreign) {
        doubts.add("the settings have the key " + inQuotes(key) + ", which the plugin does not know");
    }
    Seen<std::int64_t> numbers;
    Seen<std::string> labels;
    for (std::size_t i = 0; i < outputs->size(); ++i) {
        const DictionaryReference entry = (*outputs)[i].dictionary();
        if (entry == nullptr) continue;  // not taken by the plugin either
        const std::string name = entryName(i, entry);
        for (const auto& [key, value] : *entry) {
            if (std::find(kKeysOfEntry.begin(), kKeysOfEntry.end(), key) == kKeysOfEntry.end())
                doubts.add(name + " has the key " + inQuotes(key) + ", which the plugin does not know");
        }
        const PropertyList* const type = valueForKey(entry, kOutputType);
        if (type != nullptr && *type != PropertyList(kOutput))
            doubts.add(name + ": \"outputType\" is not the text \"output\"");
        checkNumber(doubts, name, entry, kOutputNumber);
        checkNumber(doubts, name, entry, kDefaultInputNumber);
        if (const auto before = numbers.before(integerForKey(entry, kOutputNumber), i))
            doubts.add(name + " has the same output as entry " + std::to_string(*before + 1) +
                       " (\"outputNumber\"); only the last one becomes an attribute");
        if (const auto before = labels.before(textForKey(entry, kLabel).value_or(""), i))
            doubts.add(name + " has the same \"label\" as entry " + std::to_string(*before + 1));
    }
    return std::move(doubts).texts();
}

std::vector<std::string> doubtsAboutDefaults(const DictionaryReference& settings, std::size_t inputs) {
    const ArrayReference outputs = configuredOutputs(settings);
    if (outputs == nullptr) return {};
    Doubts doubts;
    for (std::size_t i = 0; i < outputs->size(); ++i) {
        const DictionaryReference entry = (*outputs)[i].dictionary();
        const std::int64_t input = integerForKey(entry, kDefaultInputNumber);
        if (input < static_cast<std::int64_t>(inputs)) continue;
        doubts.add(entryName(i, entry) + ": \"defaultInputNumber\" " + std::to_string(input) +
                   " is beyond the matrix, which has " + std::to_string(inputs) + " inputs, counted from 0");
    }
    return std::move(doubts).texts();
}

}  // namespace velmora
