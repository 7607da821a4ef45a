#include "host/SettingsCheck.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <map>
#include <span>
#include <utility>

#include "host/Blanks.h"
#include "host/Nearest.h"
#include "host/Quotes.h"
#include "host/SettingsFile.h"
#include "host/SettingsKeys.h"

namespace velmora {

namespace {

// No matrix has more than 65,536 inputs or outputs; the settings count from 0.
constexpr std::int64_t kLastNumber = 65'535;

constexpr std::size_t kMostDoubts = 20;

using Doubts = std::vector<std::string>;
using Keys = std::span<const std::string_view>;

constexpr std::array<std::string_view, 3> kKeysOfSettings = {kSelectedDeviceName, kAvailableDevices,
                                                             kConfiguredOutputs};
constexpr std::array<std::string_view, 4> kKeysOfEntry = {kLabel, kOutputType, kOutputNumber, kDefaultInputNumber};

Doubts firstOf(Doubts doubts) {
    if (doubts.size() <= kMostDoubts) return doubts;
    const std::size_t more = doubts.size() - kMostDoubts;
    doubts.resize(kMostDoubts);
    doubts.push_back("the settings hold " + std::to_string(more) + " more doubts");
    return doubts;
}

std::string entryNumber(std::size_t index) {
    return "entry " + std::to_string(index + 1) + " of \"configuredOutputs\"";
}

std::string entryName(std::size_t index, const DictionaryReference& entry) {
    return entryNumber(index) + " (" + inQuotes(textForKey(entry, kLabel).value_or("")) + ")";
}

bool isAmong(Keys known, const std::string& key) {
    return std::find(known.begin(), known.end(), key) != known.end();
}

std::string unknownKey(const std::string& owner, const std::string& key, Keys known) {
    const auto meant = nearestWord(key, {known.begin(), known.end()});
    return owner + " the key " + inQuotes(key) + ", which the plugin does not know" +
           (meant ? "; perhaps " + inQuotes(*meant) + " is meant" : "");
}

std::string repeatedKey(const PropertyListDocument::RepeatedKey& repeated) {
    return "line " + std::to_string(repeated.line) + " of the settings file has the key " + inQuotes(repeated.key) +
           " once more; its last value counts";
}

bool isUnlikelyName(const std::string& name) {
    constexpr std::size_t kMostBytes = 63;  // that can be announced
    constexpr const char* kBlanks = " \t\r\n";
    return name.size() > kMostBytes || name.find_first_not_of(kBlanks) != 0 ||
           name.find_last_not_of(kBlanks) + 1 != name.size();
}

// As a person counts, and as it is written in the file: output 1 ("outputNumber" 0).
std::string place(const char* key, std::int64_t number) {
    return (key == std::string_view(kOutputNumber) ? "output " : "input ") + std::to_string(number + 1) + " (" +
           inQuotes(key) + ' ' + std::to_string(number) + ')';
}

void checkLabel(Doubts& doubts, const std::string& name, const DictionaryReference& entry) {
    const auto label = textForKey(entry, kLabel);
    if (!label) return;
    if (isBlank(*label)) doubts.push_back(name + " has a \"label\" without a visible character");
    if (hasControlCharacter(*label))
        doubts.push_back(name + " has a control character, such as a line end, in its \"label\"");
}

void checkNumber(Doubts& doubts, const std::string& name, const DictionaryReference& entry, const char* key) {
    const PropertyList* const value = valueForKey(entry, key);
    const std::int64_t number = integerForKey(entry, key);
    const std::string taken = "; the plugin takes it for " + place(key, number);
    if (value == nullptr) {
        doubts.push_back(name + " has no " + inQuotes(key) + taken);
    } else if (!value->isInteger()) {
        doubts.push_back(name + ": " + inQuotes(key) + " is no integer" + taken);
    } else if (number < 0 || number > kLastNumber) {
        doubts.push_back(name + ": " + inQuotes(key) + " is " + std::to_string(number) +
                         ", which is no number of an output or input; they go from 0 to " +
                         std::to_string(kLastNumber));
    }
}

void checkEntry(Doubts& doubts, const std::string& name, const DictionaryReference& entry) {
    for (const auto& [key, value] : *entry) {
        if (!isAmong(kKeysOfEntry, key)) doubts.push_back(unknownKey(name + " has", key, kKeysOfEntry));
    }
    const PropertyList* const type = valueForKey(entry, kOutputType);
    if (type != nullptr && *type != PropertyList(kOutput))
        doubts.push_back(name + ": \"outputType\" is not the text \"output\"");
    checkLabel(doubts, name, entry);
    checkNumber(doubts, name, entry, kOutputNumber);
    checkNumber(doubts, name, entry, kDefaultInputNumber);
}

void checkEntries(Doubts& doubts, const PropertyListArray& outputs) {
    // The entries where each was seen first, counted from 1.
    std::map<std::int64_t, std::size_t> numbers;
    std::map<std::string, std::size_t> labels;
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        const DictionaryReference entry = outputs[i].dictionary();
        if (entry == nullptr) continue;  // the plugin skips it, too
        const std::string name = entryName(i, entry);
        checkEntry(doubts, name, entry);
        const std::int64_t output = integerForKey(entry, kOutputNumber);
        if (const auto [at, isNew] = numbers.emplace(output, i + 1); !isNew)
            doubts.push_back(name + " is for " + place(kOutputNumber, output) + ", and so is entry " +
                             std::to_string(at->second) + "; only the last one becomes an attribute");
        const auto label = textForKey(entry, kLabel);
        if (!label) continue;
        if (const auto [at, isNew] = labels.emplace(*label, i + 1); !isNew)
            doubts.push_back(name + " has the same \"label\" as entry " + std::to_string(at->second));
    }
}

Doubts doubtsAboutNumbers(const DictionaryReference& settings, const char* key, std::size_t count, const char* what) {
    Doubts doubts;
    const ArrayReference outputs = listForKey(settings, kConfiguredOutputs);
    if (outputs == nullptr) return doubts;
    for (std::size_t i = 0; i < outputs->size(); ++i) {
        const DictionaryReference entry = (*outputs)[i].dictionary();
        const std::int64_t number = integerForKey(entry, key);
        if (number < static_cast<std::int64_t>(count)) continue;
        doubts.push_back(entryName(i, entry) + ": " + place(key, number) + " is beyond the matrix, which has " +
                         std::to_string(count) + ' ' + what);
    }
    return firstOf(std::move(doubts));
}

}  // namespace

std::vector<std::string> faultsOfSettings(const PropertyList& value) {
    const DictionaryReference settings = value.dictionary();
    if (settings == nullptr) return {"it holds no dictionary"};
    Doubts faults;
    const PropertyList* const name = valueForKey(settings, kSelectedDeviceName);
    if (name != nullptr && !name->text()) faults.push_back("\"selectedDeviceName\" is not a text");
    const PropertyList* const list = valueForKey(settings, kConfiguredOutputs);
    if (list == nullptr) return faults;
    const ArrayReference outputs = list->array();
    if (outputs == nullptr) {
        faults.push_back("\"configuredOutputs\" is not a list");
        return faults;
    }
    for (std::size_t i = 0; i < outputs->size(); ++i) {
        const DictionaryReference entry = (*outputs)[i].dictionary();
        const PropertyList* const label = valueForKey(entry, kLabel);
        if (entry == nullptr) {
            faults.push_back(entryNumber(i) + " is not a dictionary");
        } else if (label == nullptr) {
            faults.push_back(entryNumber(i) + " has no \"label\"");
        } else if (!label->text()) {
            faults.push_back(entryNumber(i) + " has a \"label\" that is not a text");
        }
    }
    return firstOf(std::move(faults));
}

std::vector<std::string> doubtsAboutSettings(const DictionaryReference& settings, const SettingsFile& file) {
    Doubts doubts;
    for (const auto& repeated : file.repeatedKeys()) {
        doubts.push_back(repeatedKey(repeated));
    }
    if (const ArrayReference outputs = listForKey(settings, kConfiguredOutputs)) {
        for (const auto& [key, value] : file.foreignEntries()) {
            doubts.push_back(unknownKey("the settings have", key, kKeysOfSettings));
        }
        checkEntries(doubts, *outputs);
    }
    return firstOf(std::move(doubts));
}

std::vector<std::string> doubtsAboutOutputs(const DictionaryReference& settings, std::size_t outputs) {
    return doubtsAboutNumbers(settings, kOutputNumber, outputs, "outputs");
}

std::vector<std::string> doubtsAboutDefaults(const DictionaryReference& settings, std::size_t inputs) {
    return doubtsAboutNumbers(settings, kDefaultInputNumber, inputs, "inputs");
}

std::vector<std::string> mistakesIn(const PropertyListDocument& document, const MatrixSize& size) {
    Doubts mistakes = faultsOfSettings(document.value);
    for (const auto& repeated : document.repeatedKeys) {
        mistakes.push_back(repeatedKey(repeated));
    }
    const DictionaryReference settings = document.value.dictionary();
    if (settings == nullptr) return mistakes;
    for (const auto& [key, value] : *settings) {
        if (!isAmong(kKeysOfSettings, key)) mistakes.push_back(unknownKey("the settings have", key, kKeysOfSettings));
    }
    const PropertyList* const name = valueForKey(settings, kSelectedDeviceName);
    if (name == nullptr || name->text() == "")
        mistakes.push_back("the settings name no switch server (\"selectedDeviceName\")");
    else if (const auto text = name->text(); text && isUnlikelyName(*text))
        mistakes.push_back(
            "the switch server " + inQuotes(*text) +
            " (\"selectedDeviceName\") begins or ends with a blank or a line end, or has more than 63 bytes");
    const ArrayReference outputs = listForKey(settings, kConfiguredOutputs);
    if (outputs != nullptr) checkEntries(mistakes, *outputs);
    if (valueForKey(settings, kConfiguredOutputs) == nullptr || (outputs != nullptr && outputs->empty()))
        mistakes.push_back("the settings configure no outputs (\"configuredOutputs\")");
    const auto add = [&](Doubts more) { std::move(more.begin(), more.end(), std::back_inserter(mistakes)); };
    if (size.outputs > 0) add(doubtsAboutOutputs(settings, size.outputs));
    if (size.inputs > 0) add(doubtsAboutDefaults(settings, size.inputs));
    return firstOf(std::move(mistakes));
}

}  // namespace velmora
