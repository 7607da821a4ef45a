// The plugin as any host gets it: from its bundle, which may be unloaded while the host holds what it was given.
#include <gtest/gtest.h>

#include "platform/foundation/NSBundle.h"
#include "platform/threads/NSThread.h"
#include "plugin/VelmoraNodePluginProtocol.h"
#include "tests/plugin/Settings.h"

namespace velmora::test {
namespace {

TEST(Bundle, whatThePluginGaveOutlivesItsModule) {
    for (int i = 0; i < 3; ++i) {
        std::string error;
        const auto bundle = NSBundle::bundleWithPath(VELMORA_BUNDLE_PATH, &error);
        ASSERT_NE(bundle, nullptr) << error;
        ASSERT_TRUE(bundle->load(kVelmoraNodePluginProtocolVersion, &error)) << error;
        auto plugin = std::dynamic_pointer_cast<VelmoraNodePluginProtocol>(bundle->makePrincipalObject(&error));
        ASSERT_NE(plugin, nullptr) << error;
        EXPECT_EQ(plugin->pluginVersionString(), VELMORA_VERSION);
        plugin->setDefaultSettings(settingsWith("Nowhere", {{"One", 0, 0}}));
        plugin->startAndSetCurrentValuesToDefaults(false);
        const DictionaryReference settings = plugin->defaultSettings();
        const StringList names = plugin->attributeNames();
        EXPECT_EQ(plugin->settingsView(), nullptr);  // there is no window system here
        EXPECT_FALSE(bundle->unload());
        plugin->stop();
        plugin = nullptr;
        ASSERT_TRUE(bundle->unload(&error)) << error;
        EXPECT_FALSE(bundle->isLoaded());
        EXPECT_EQ(textForKey(settings, "selectedDeviceName"), "Nowhere");
        EXPECT_TRUE(names->empty());
    }
}

}  // namespace
}  // namespace velmora::test
