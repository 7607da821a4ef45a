// A test with a whole plugin, which is stopped and gone, with all of its threads, at the end.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "platform/threads/NSThread.h"
#include "plugin/VelmoraSwitchNodePlugin.h"
#include "tests/plugin/Settings.h"
#include "tests/support/MainLoop.h"

namespace velmora::test {

inline const std::string kOne = "Velmora Switch Output 1", kTwo = "Velmora Switch Output 2";

class PluginFixture : public testing::Test {
  protected:
    void TearDown() override {
        if (plugin != nullptr) plugin->stop();
        plugin = nullptr;
        EXPECT_TRUE(NSThread::finishCancelledThreads(Seconds(5)));
    }
    void start(const std::string& server, const Outputs& outputs, bool defaults = false) {
        plugin->setDefaultSettings(settingsWith(server, outputs));
        plugin->startAndSetCurrentValuesToDefaults(defaults);
    }
    // How many servers the plugin knows.
    std::size_t available() const {
        return valueForKey(plugin->defaultSettings(), "availableDevices")->array()->size();
    }

    std::shared_ptr<VelmoraSwitchNodePlugin> plugin = std::make_shared<VelmoraSwitchNodePlugin>(nullptr);
};

}  // namespace velmora::test
