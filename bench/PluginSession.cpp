#include "bench/PluginSession.h"

#include "bench/EventLoop.h"

namespace velmora::bench {

DictionaryReference settingsFor(const std::string& server, int configuredOutputs) {
    auto outputs = makeArray();
    for (std::int32_t number = 0; number < configuredOutputs; ++number) {
        auto entry = makeDictionary();
        entry->emplace("label", "Destination " + std::to_string(number + 1));
        entry->emplace("outputType", "output");
        entry->emplace("outputNumber", number);
        entry->emplace("defaultInputNumber", std::int32_t{0});
        outputs->emplace_back(std::move(entry));
    }
    auto settings = makeDictionary();
    settings->emplace("selectedDeviceName", server);
    settings->emplace("configuredOutputs", std::move(outputs));
    return settings;
}

PluginSession::PluginSession(const std::string& server, int configuredOutputs)
    : plugin_(std::make_shared<VelmoraSwitchNodePlugin>(nullptr)) {
    plugin_->setDelegate(this);
    plugin_->setDefaultSettings(settingsFor(server, configuredOutputs));
    plugin_->startAndSetCurrentValuesToDefaults(false);
}

PluginSession::~PluginSession() {
    plugin_->stop();
    plugin_->setDelegate(nullptr);
}

void PluginSession::waitForAttributes() {
    serveUntil([this] { return toldAt_.has_value(); }, "the attributes");
}

void PluginSession::attributesChangedForPluginName(const std::string&) {
    if (toldAt_) return;
    // While the connection is being made, attributes have no possible values yet.
    const auto now = std::chrono::steady_clock::now();
    const auto names = plugin_->attributeNames();
    if (names->empty() || plugin_->possibleValuesOfAttributeWithName(names->front())->empty()) return;
    toldAt_ = now;
}

}  // namespace velmora::bench
