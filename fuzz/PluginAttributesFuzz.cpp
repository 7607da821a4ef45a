// Attribute names, values and settings through the whole plugin, connected to a virtual switch server in this process.
#include <algorithm>

#include "fuzz/AnnouncedService.h"
#include "fuzz/Fuzz.h"
#include "plugin/VelmoraSwitchNodePlugin.h"
#include "server/SwitchServer.h"

namespace velmora::fuzz {
namespace {

constexpr int kInputs = 3;
constexpr int kOutputs = 4;
const std::string kPrefix = "Velmora Switch Output ";

// The server and the connected plugin of the whole run.
class System {
  public:
    System() {
        require(static_cast<bool>(server_.start("127.0.0.1", 0)), "the server starts");
        service_ = std::make_unique<AnnouncedService>(server_.port());
        auto settings = makeDictionary();
        settings->emplace("selectedDeviceName", service_->name());
        plugin->setDefaultSettings(settings);
        plugin->startAndSetCurrentValuesToDefaults(false);
        runMainLoopUntil([this] {
            const auto switcher = plugin->selectedDevice();
            return switcher != nullptr && switcher->numberOfInputs() == kInputs;
        });
    }
    std::vector<int> routes() const { return matrix_.contents().routes; }
    // Back to the first state, so that every input can be repeated on its own.
    void reset() {
        plugin->setAttributes(std::make_shared<const AttributeDictionary>());
        require(static_cast<bool>(matrix_.apply({{}, {}, {1, 2, 3, 1}})), "the routes fit");
    }

    const std::shared_ptr<VelmoraSwitchNodePlugin> plugin = std::make_shared<VelmoraSwitchNodePlugin>(nullptr);

  private:
    VirtualMatrix matrix_{kInputs, kOutputs};
    SwitchServer server_{matrix_};
    std::unique_ptr<AnnouncedService> service_;
};

// What a host may give a plugin that is not started, and what it gets back. Returns the accepted outputs.
ArrayReference checkSettings(const PropertyList& given) {
    const auto plugin = std::make_shared<VelmoraSwitchNodePlugin>(nullptr);
    plugin->setDefaultSettings(given.dictionary());
    const auto kept = plugin->defaultSettings();
    require(textForKey(kept, "selectedDeviceName") == textForKey(given.dictionary(), "selectedDeviceName").value_or(""),
            "the selected device is kept");
    PropertyListArray expected;
    const PropertyList* const list = valueForKey(given.dictionary(), "configuredOutputs");
    if (list != nullptr && list->array() != nullptr)
        std::copy_if(list->array()->begin(), list->array()->end(), std::back_inserter(expected),
                     [](const PropertyList& entry) { return entry.dictionary() != nullptr; });
    require(*plugin->configuredOutputs() == expected, "every output that is one is kept");
    plugin->setDefaultSettings(kept);
    require(*plugin->configuredOutputs() == expected, "settings may be given back");
    require(plugin->attributeNames()->empty(), "a plugin that is not started has no attributes");
    return plugin->configuredOutputs();
}

void checkAttributes(const VelmoraSwitchNodePlugin& plugin, const ArrayReference& outputs) {
    const auto names = plugin.attributeNames();
    require(names->size() <= outputs->size() && names->empty() == outputs->empty(), "outputs become attributes");
    for (const std::string& name : *names) {
        require(name.starts_with(kPrefix), "an attribute is named after its output");
        require(plugin.typeOfAttributeWithName(name) == "MultipleValues", "an attribute has its type");
        require(plugin.directionOfAttributeWithName(name) == "Output", "an attribute has its direction");
        require(plugin.displayNameOfAttributeWithName(name).has_value(), "an attribute has a name to show");
        const auto values = plugin.possibleValuesOfAttributeWithName(name);
        require(*values == std::vector<std::string>{"0001 Input 1", "0002 Input 2", "0003 Input 3"},
                "every input is a possible value");
        const auto value = plugin.defaultValueOfAttributeWithName(name);
        require(value && value->size() >= 5, "an attribute has a default value");
    }
}

void checkLookUp(VelmoraSwitchNodePlugin& plugin, const std::string& name) {
    const auto names = plugin.attributeNames();
    const bool known = std::find(names->begin(), names->end(), name) != names->end();
    require(plugin.typeOfAttributeWithName(name).has_value() == known, "only attributes have a type");
    require((plugin.possibleValuesOfAttributeWithName(name) != nullptr) == known, "only attributes have values");
    const std::string value = plugin.currentValueOfAttributeWithName(name);
    const std::int64_t input = integerValue(value);
    require(value.empty() || value == stringWithFormat("%04li Input %li", input, input), "a value is one or none");
    require(input >= 0 && input <= kInputs, "the input is one that the matrix has");
}

void checkSetting(const System& system, const std::string& name, const std::string& value) {
    const bool isOutput = name.starts_with(kPrefix);
    // Only the first four characters of a value count; an output's number is cut to 32 bits on its way.
    const std::int64_t input = integerValue(std::string_view(value).substr(0, 4));
    const auto output = static_cast<std::int32_t>(integerValue(isOutput ? name.substr(kPrefix.size()) : ""));
    auto expected = system.routes();
    const std::int32_t result = system.plugin->setValueForAttributeWithName(value, name);
    require(result == (isOutput && input != 0 && input <= kInputs ? 0 : -1), "what can be an input is accepted");
    const bool routed = result == 0 && input > 0 && output >= 1 && output <= kOutputs;
    if (routed) expected[static_cast<std::size_t>(output - 1)] = static_cast<int>(input);
    require(system.routes() == expected, "the output is routed to the input, and nothing else happens");
    if (!routed) return;
    const std::string told = system.plugin->currentValueOfAttributeWithName(stringWithFormat("%@%li", kPrefix, output));
    require(told == stringWithFormat("%04li Input %li", input, input), "what was set can be read");
}

void run(System& system, FuzzedDataProvider input) {
    system.reset();
    ValueMaker maker(input);
    if (input.ConsumeBool()) {
        ArrayReference outputs = checkSettings(maker.dictionary());
        if (outputs->empty()) outputs = maker.array();  // not even dictionaries
        system.plugin->setConfiguredOutputs(outputs);
        system.plugin->updateAttributes();
        checkAttributes(*system.plugin, outputs);
    }
    for (int round = 0; round < 8 && input.remaining_bytes() > 0; ++round) {
        const std::string name = (input.ConsumeBool() ? kPrefix : "") + input.ConsumeRandomLengthString(32);
        checkLookUp(*system.plugin, name);
        checkSetting(system, name, input.ConsumeRandomLengthString(16));
    }
    require(system.plugin->selectedDevice()->isConnected(), "no name and no value ends the connection");
}

}  // namespace
}  // namespace velmora::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static auto* const system = new velmora::fuzz::System;
    velmora::fuzz::run(*system, FuzzedDataProvider(data, size));
    return 0;
}
