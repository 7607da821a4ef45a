// The plugin without a network worth the name: settings, and the answers of a plugin that is not started or has no
// server.
#include <gtest/gtest.h>

#include "plugin/VelmoraSwitchNodePlugin.h"
#include "tests/plugin/Settings.h"
#include "tests/support/LogLines.h"

namespace velmora::test {
namespace {

using Strings = std::vector<std::string>;

std::shared_ptr<VelmoraSwitchNodePlugin> makePlugin() {
    return std::make_shared<VelmoraSwitchNodePlugin>(nullptr);
}

TEST(Plugin, answersBeforeItIsStarted) {
    LogLines log;
    const auto plugin = makePlugin();
    const std::string name = "Velmora Switch Output 1";
    EXPECT_EQ(*plugin->attributeNames(), Strings{});
    EXPECT_EQ(plugin->typeOfAttributeWithName(name), "Double");
    EXPECT_EQ(plugin->displayNameOfAttributeWithName(name), "");
    EXPECT_EQ(plugin->defaultValueOfAttributeWithName(name), "");
    EXPECT_EQ(plugin->directionOfAttributeWithName(name), "");
    EXPECT_EQ(*plugin->possibleValuesOfAttributeWithName(name), Strings{});
    EXPECT_EQ(plugin->currentValueOfAttributeWithName(name), "");
    EXPECT_EQ(plugin->setValueForAttributeWithName("0001", name), -1);
    plugin->setCurrentValuesToDefaults();
    plugin->stop();
    EXPECT_EQ(log.lines(), Strings{});
    EXPECT_EQ(plugin->pluginName(), "Velmora Switch");
    EXPECT_EQ(plugin->pluginVersionString(), std::nullopt);
}

TEST(Plugin, refusesInWordsWithoutAServer) {
    const auto plugin = makePlugin();
    EXPECT_EQ(plugin->startAndSetCurrentValuesToDefaults(false), 0);
    LogLines log;
    EXPECT_EQ(plugin->typeOfAttributeWithName("Gain"), std::nullopt);
    EXPECT_EQ(plugin->possibleValuesOfAttributeWithName("Gain"), nullptr);
    EXPECT_EQ(plugin->currentValueOfAttributeWithName("Gain"), "");
    EXPECT_EQ(plugin->setValueForAttributeWithName("0001", "Velmora Switch Output7"), -1);
    EXPECT_EQ(plugin->currentValueOfAttributeWithName("Velmora Switch Output7"), "");
    EXPECT_EQ(plugin->setValueForAttributeWithName("0001", "Velmora Switch Output 7"), -1);
    EXPECT_EQ(log.lines(),
              (Strings{"Attribute 'Gain' is not implemented in the Velmora Switch Plugin.",
                       "Attribute 'Velmora Switch Output7' is not implemented in the Velmora Switch Plugin.",
                       "No server selected (Velmora Switch Plugin)", "No server selected (Velmora Switch Plugin)"}));
    plugin->stop();
    plugin->stop();
    EXPECT_EQ(plugin->typeOfAttributeWithName("Gain"), "Double");
}

TEST(Plugin, keepsSettingsAsCopiesInItsOwnList) {
    const auto plugin = makePlugin();
    const auto given = settingsWith("Studio", {{"Monitor", 0, 2}, {"Air", 1, 0}});
    plugin->setDefaultSettings(given);
    const auto written = plugin->defaultSettings();
    EXPECT_EQ(textForKey(written, "selectedDeviceName"), "Studio");
    EXPECT_TRUE(valueForKey(written, "availableDevices")->array()->empty());
    EXPECT_EQ(*valueForKey(written, "configuredOutputs"), *valueForKey(given, "configuredOutputs"));
    EXPECT_EQ(valueForKey(written, "configuredOutputs")->array(), plugin->configuredOutputs());
    // The giver's entries are not the plugin's, but what defaultSettings hands out is.
    valueForKey(given, "configuredOutputs")->array()->front().dictionary()->insert_or_assign("label", "changed");
    EXPECT_EQ(textForKey(plugin->configuredOutputs()->front().dictionary(), "label"), "Monitor");
    plugin->setDefaultSettings(written);
    EXPECT_NE(valueForKey(written, "configuredOutputs")->array(), plugin->configuredOutputs());
    EXPECT_EQ(plugin->configuredOutputs()->size(), 2U);

    plugin->setDefaultSettings(std::make_shared<PropertyListDictionary>());
    EXPECT_TRUE(plugin->configuredOutputs()->empty());
    EXPECT_EQ(textForKey(plugin->defaultSettings(), "selectedDeviceName"), "");
    plugin->setDefaultSettings(nullptr);

    auto damaged = std::make_shared<PropertyListDictionary>();
    damaged->emplace("configuredOutputs", "no list");
    damaged->emplace("selectedDeviceName", std::int64_t{7});
    plugin->setDefaultSettings(damaged);
    EXPECT_TRUE(plugin->configuredOutputs()->empty());
    auto list = std::make_shared<PropertyListArray>();
    list->emplace_back("no dictionary");
    list->emplace_back(std::make_shared<PropertyListDictionary>());
    damaged->insert_or_assign("configuredOutputs", std::move(list));
    plugin->setDefaultSettings(damaged);
    EXPECT_EQ(plugin->configuredOutputs()->size(), 1U);
}

}  // namespace
}  // namespace velmora::test
