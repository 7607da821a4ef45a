#include "host/Naming.h"

#include <algorithm>
#include <memory>

#include "host/Quotes.h"
#include "host/SettingsKeys.h"
#include "platform/foundation/Joined.h"
#include "platform/foundation/Text.h"

namespace velmora {

namespace {

// Names in a message; there may be a thousand.
constexpr std::size_t kMostNamed = 20;
constexpr std::string_view kDigits = "0123456789";

bool isNumber(std::string_view text) {
    return !text.empty() && text.find_first_not_of(kDigits) == std::string_view::npos;
}

// The number at the end of an attribute's name: "Velmora Switch Output 3".
std::optional<std::int64_t> lastNumber(const std::string& name) {
    const std::size_t blank = name.rfind(' ');
    if (blank == std::string::npos) return std::nullopt;
    const std::string_view word = std::string_view(name).substr(blank + 1);
    if (!isNumber(word.substr(word.starts_with('-') ? 1 : 0))) return std::nullopt;
    return integerValue(word);
}

// Of an entry, from 1.
std::int64_t outputNumber(const PropertyList& entry) {
    return integerForKey(entry.dictionary(), kOutputNumber) + 1;
}

bool isNumberOf(const std::string& written, std::int64_t output) {
    return isNumber(written) && integerValue(written) == output;
}

// Before there are attributes, so rather too often.
bool mayBeMeantBy(const PropertyList& entry, const std::string& written) {
    if (entry.dictionary() == nullptr) return false;
    const std::int64_t output = outputNumber(entry);
    return textForKey(entry.dictionary(), kLabel) == written || lastNumber(written) == output ||
           isNumberOf(written, output);
}

}  // namespace

bool Naming::isAttribute(const std::string& name) const {
    const StringList names = plugin_.attributeNames();
    return std::find(names->begin(), names->end(), name) != names->end();
}

std::optional<std::int64_t> Naming::outputOf(const std::string& name) const {
    const ArrayReference entries = listForKey(settings_, kConfiguredOutputs);
    const auto number = lastNumber(name);
    if (entries == nullptr || !number) return std::nullopt;
    const bool isConfigured = std::any_of(entries->begin(), entries->end(), [&](const PropertyList& entry) {
        return entry.dictionary() != nullptr && outputNumber(entry) == *number;
    });
    return isConfigured ? number : std::nullopt;
}

std::vector<std::string> Naming::candidates(const std::string& written) const {
    if (isAttribute(written)) return {written};
    std::vector<std::string> found;
    const StringList names = plugin_.attributeNames();
    std::copy_if(names->begin(), names->end(), std::back_inserter(found), [&](const std::string& name) {
        if (plugin_.displayNameOfAttributeWithName(name) == written) return true;
        const auto output = isNumber(written) ? outputOf(name) : std::nullopt;
        return output && isNumberOf(written, *output);
    });
    return found;
}

std::string Naming::knownNames() const {
    std::vector<std::string> known;
    if (const ArrayReference entries = listForKey(settings_, kConfiguredOutputs); entries != nullptr) {
        for (const PropertyList& entry : *entries) {
            if (entry.dictionary() == nullptr) continue;
            known.push_back(std::to_string(outputNumber(entry)) + " (" +
                            inQuotes(textForKey(entry.dictionary(), kLabel).value_or("")) + ')');
        }
        if (!known.empty()) known.front().insert(0, "the settings configure the outputs: ");
    } else {
        const StringList names = plugin_.attributeNames();  // the plugin need not keep it
        for (const std::string& name : *names) {
            known.push_back((known.empty() ? "it has: " : "") + inQuotes(name));
        }
    }
    if (known.empty()) return "";
    const std::size_t more = known.size() - std::min(known.size(), kMostNamed);
    known.resize(known.size() - more);
    return "; " + joined(known) + (more > 0 ? " and " + std::to_string(more) + " more" : "");
}

Result<std::string> Naming::attributeMeantBy(const std::string& written) const {
    const auto found = candidates(written);
    if (found.size() == 1) return found.front();
    if (found.empty()) return Failure{"the plugin has no attribute " + inQuotes(written) + knownNames()};
    return Failure{inQuotes(written) + " may mean each of the attributes " + joined(found, inQuotes)};
}

Result<SalvoStep> Naming::stepMeantBy(const std::string& line) const {
    const auto isExact = [this](const std::string& name) { return isAttribute(name); };
    const auto splits = splitsOf(line);
    if (splits.empty()) return Failure{"NAME=VALUE is wanted, not " + inQuotes(line)};
    if (std::any_of(splits.begin(), splits.end(), [&](const auto& split) { return isExact(split.name); }))
        return stepInLine(line, isExact);
    auto step = stepInLine(line, [this](const std::string& name) { return !candidates(name).empty(); });
    if (!step) return Failure{step.failure().reason + knownNames()};
    const auto name = attributeMeantBy(step->name);
    if (!name) return name.failure();
    return SalvoStep{*name, step->value};
}

std::optional<DictionaryReference> settingsForAttributes(const DictionaryReference& settings,
                                                         const std::vector<std::string>& names) {
    const ArrayReference entries = listForKey(settings, kConfiguredOutputs);
    if (entries == nullptr) return std::nullopt;
    auto kept = makeArray();
    for (const PropertyList& entry : *entries) {
        const auto mayBeMeant = [&](const std::string& name) { return mayBeMeantBy(entry, name); };
        if (std::any_of(names.begin(), names.end(), mayBeMeant)) kept->push_back(entry);
    }
    if (kept->empty() && !names.empty() && !entries->empty()) kept->push_back(entries->front());
    if (kept->size() == entries->size()) return std::nullopt;
    const DictionaryReference part = shallowCopy(settings);
    part->insert_or_assign(kConfiguredOutputs, kept);
    return part;
}

}  // namespace velmora
