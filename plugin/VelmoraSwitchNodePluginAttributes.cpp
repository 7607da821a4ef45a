// The attribute model: how configured outputs become attributes, and what the host may ask and set. Outputs and inputs
// count from 0 in the settings and towards the switcher, from 1 in names and value texts.
#include <map>

#include "platform/foundation/NSLog.h"
#include "platform/foundation/Text.h"
#include "platform/threads/MainThread.h"
#include "plugin/SharedList.h"
#include "plugin/VelmoraSwitchNodePlugin.h"
#include "settings/SettingsKeys.h"
#include "switcher/Numbering.h"

namespace velmora {

namespace {

constexpr const char* kNameFormat = "Velmora Switch Output %li";
// The two differ by a blank: a name without it can be read and not set. Intended: reading is lenient, as it does no
// harm.
constexpr std::string_view kReadPrefix = "Velmora Switch Output";
constexpr std::string_view kSetPrefix = "Velmora Switch Output ";

constexpr const char* kNoServer = "No server selected (Velmora Switch Plugin)";
constexpr const char* kOutputOutOfRange = "Output %li is out of range";
constexpr const char* kInputOutOfRange = "Input %li is out of range";
constexpr const char* kNotImplemented = "Attribute '%@' is not implemented in the Velmora Switch Plugin.";

std::string valueText(TCPMatrixSwitcher& switcher, std::int64_t input) {
    auto text = labelledText(input, switcher.inputLabelAtIndex(static_cast<std::int32_t>(input)));
    text.shrink_to_fit();  // there are many, and they are kept
    return text;
}

// Of one output. Asks one question for each input.
StringList possibleValues(TCPMatrixSwitcher& switcher, std::vector<StringList> models) {
    SharedList values(std::move(models));
    for (std::int64_t input = 0; input < switcher.numberOfInputs(); ++input) {
        values.add(valueText(switcher, input));
    }
    return values.list();
}

// The input's possible value where that is the same text, otherwise a text that the dictionary keeps beside them.
const std::string* textInDictionary(AttributeDictionary& attributes, const StringList& possibleValues,
                                    std::int64_t input, std::string text) {
    if (input >= 0 && input < static_cast<std::int64_t>(possibleValues->size())) {
        const std::string& possible = (*possibleValues)[static_cast<std::size_t>(input)];
        if (possible == text) return &possible;
    }
    return &attributes.otherTexts.emplace_back(std::move(text));
}

}  // namespace

void VelmoraSwitchNodePlugin::updateAttributes() {
    const PluginStatus::Operation operation(status_);
    setAttributes(buildAttributes());
    MainThread::performAndWait([this] {
        if (delegate_ != nullptr) delegate_->attributesChangedForPluginName(pluginName());
    });
}

std::shared_ptr<const AttributeDictionary> VelmoraSwitchNodePlugin::buildAttributes() {
    auto attributes = std::make_shared<AttributeDictionary>();
    const auto before = this->attributes();
    const auto switcher = selectedDevice();
    const auto outputs = configuredOutputs();
    if (switcher == nullptr || outputs->empty()) return attributes;
    StringList lastPossibleValues;
    // Sorted as text, so "... 10" comes before "... 2". Intended: hosts show and keep them in this order. Case does not
    // matter in names that differ in digits only.
    std::map<std::string, AttributeRecord> records;
    for (std::size_t i = 0; i < outputs->size(); ++i) {
        const DictionaryReference entry = (*outputs)[i].dictionary();
        const std::int64_t output = integerForKey(entry, kOutputNumberKey);
        const std::string name = stringWithFormat(kNameFormat, numberOf(output));
        const AttributeRecord* const old = before->find(name);
        const StringList oldValues = old != nullptr ? old->attributePossibleValues : nullptr;
        lastPossibleValues = possibleValues(*switcher, {lastPossibleValues, oldValues});
        records.insert_or_assign(name, makeRecord(*switcher, output, entry, *attributes, lastPossibleValues));
    }
    std::vector<std::string> names;
    names.reserve(records.size());
    attributes->records.reserve(records.size());
    for (auto& [name, record] : records) {
        names.emplace_back(name).shrink_to_fit();
        attributes->records.push_back(std::move(record));
    }
    attributes->names = makeStringList(std::move(names));
    return attributes;
}

// The switcher is asked in this order: each input's label (before), the routed input, the default input's label, the
// routed input's label.
AttributeRecord VelmoraSwitchNodePlugin::makeRecord(TCPMatrixSwitcher& switcher, std::int64_t output,
                                                    const DictionaryReference& entry, AttributeDictionary& attributes,
                                                    const StringList& possibleValues) {
    AttributeRecord record;
    record.attributePossibleValues = possibleValues;
    const std::int64_t current = switcher.selectedInputForOutput(output);
    const std::int64_t byDefault = integerForKey(entry, kDefaultInputNumberKey);
    record.attributeDefaultValue =
        textInDictionary(attributes, record.attributePossibleValues, byDefault, valueText(switcher, byDefault));
    record.attributeCurrentValue =
        textInDictionary(attributes, record.attributePossibleValues, current, valueText(switcher, current));
    const auto label = textForKey(entry, kLabelKey);
    if (!label) NSLog("A configured output has no label (Velmora Switch Plugin)");
    record.attributeDisplayName = label.value_or("");
    return record;
}

void VelmoraSwitchNodePlugin::setCurrentValuesToDefaults() {
    const auto switcher = selectedDevice();
    if (switcher == nullptr) return;
    const auto outputs = configuredOutputs();
    for (std::size_t i = 0; i < outputs->size(); ++i) {
        const DictionaryReference entry = (*outputs)[i].dictionary();
        switcher->switchOutputToInput(intForKey(entry, kOutputNumberKey), intForKey(entry, kDefaultInputNumberKey));
    }
}

StringList VelmoraSwitchNodePlugin::attributeNames() const {
    return isStarted() ? attributes()->names : makeStringList();
}

template <typename Text>
std::optional<std::string> VelmoraSwitchNodePlugin::textOfAttribute(const std::string& name, Text text,
                                                                    const char* whenStopped) const {
    if (!isStarted()) return whenStopped;
    const auto all = attributes();
    const AttributeRecord* const record = all->find(name);
    if (record == nullptr) return std::nullopt;
    return text(*record);
}

std::optional<std::string> VelmoraSwitchNodePlugin::displayNameOfAttributeWithName(const std::string& name) const {
    return textOfAttribute(
        name, [](const AttributeRecord& record) { return record.attributeDisplayName; }, "");
}

std::optional<std::string> VelmoraSwitchNodePlugin::typeOfAttributeWithName(const std::string& name) const {
    // A plugin that is not started calls every attribute a number. Intended: it has no record to look it up in, and no
    // answer would mean that the name is unknown.
    return textOfAttribute(
        name, [](const AttributeRecord& record) { return record.attributeType; }, "Double");
}

std::optional<std::string> VelmoraSwitchNodePlugin::defaultValueOfAttributeWithName(const std::string& name) const {
    return textOfAttribute(
        name, [](const AttributeRecord& record) { return *record.attributeDefaultValue; }, "");
}

std::optional<std::string> VelmoraSwitchNodePlugin::directionOfAttributeWithName(const std::string& name) const {
    return textOfAttribute(
        name, [](const AttributeRecord& record) { return record.attributeDirection; }, "");
}

StringList VelmoraSwitchNodePlugin::possibleValuesOfAttributeWithName(const std::string& name) const {
    if (!isStarted()) return makeStringList();
    const auto all = attributes();
    const AttributeRecord* const record = all->find(name);
    return record != nullptr ? record->attributePossibleValues : nullptr;
}

std::string VelmoraSwitchNodePlugin::currentValueOfAttributeWithName(const std::string& name) {
    const auto [switcher, output] = targetOf(name, kReadPrefix);
    if (switcher == nullptr) return "";
    // There is no lower bound. Intended: the server knows best what it has.
    if (output > switcher->numberOfOutputs()) {
        refuseNumber(name, kOutputOutOfRange, output);
        return "";
    }
    // The word "Input" in place of the label is intended: the number is all that is read back.
    const std::int64_t input = switcher->selectedInputForOutput(indexOf(output));
    status_.noteExchange(name, switcher->lastOutcome());
    return inputText(input);
}

std::int32_t VelmoraSwitchNodePlugin::setValueForAttributeWithName(const std::string& value, const std::string& name) {
    const auto [switcher, output] = targetOf(name, kSetPrefix);
    if (switcher == nullptr) return -1;
    const std::int64_t input = numberInText(value);
    // The output is not compared with the number of outputs, and a negative input passes. Both are intended: the size
    // is as old as the connection, and the server decides.
    if (input == 0 || input > switcher->numberOfInputs()) {
        refuseNumber(name, kInputOutOfRange, input);
        return -1;
    }
    switcher->switchOutputToInput(indexOf(output), indexOf(input));
    status_.noteExchange(name, switcher->lastOutcome());
    return 0;  // the command was given, whatever came of it. Intended
}

VelmoraSwitchNodePlugin::Target VelmoraSwitchNodePlugin::targetOf(const std::string& name, std::string_view prefix) {
    if (isStarted() && !name.starts_with(prefix)) {
        refuseName(name);
        return {};
    }
    const auto switcher = selectedDevice();
    if (switcher == nullptr) {
        if (isStarted()) NSLog(kNoServer);
        status_.noteNoConnection(name);
        return {};
    }
    return {switcher, integerValue(std::string_view(name).substr(prefix.size()))};
}

void VelmoraSwitchNodePlugin::refuseName(const std::string& name) {
    NSLog(kNotImplemented, name);
    status_.noteRefusal(name, "There is no attribute " + quotedText(name));
}

void VelmoraSwitchNodePlugin::refuseNumber(const std::string& name, FormatOfOneInteger format, std::int64_t number) {
    const std::string reason = stringWithFormat(format, number);
    NSLog("%@ (Velmora Switch Plugin)", reason);
    if (connectionStatus().state == NodePluginConnectionState::connected) {
        status_.noteRefusal(name, reason);
    } else {
        status_.noteNoConnection(name);
    }
}

}  // namespace velmora
