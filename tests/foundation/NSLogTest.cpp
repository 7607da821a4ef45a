#include "platform/foundation/NSLog.h"

#include <gtest/gtest.h>

#include <thread>

#include "tests/support/LogLines.h"

namespace velmora {
namespace {

TEST(NSLog, oneCallIsOneLineForObserversAndStandardError) {
    test::LogLines log;
    testing::internal::CaptureStderr();
    NSLogMirrorToStandardError(true);
    NSLog("Selecting matrix switcher with name: %@", "evil\nname\x1B[2J");
    NSLog("100%% of %li", 5);
    NSLogMirrorToStandardError(false);
    NSLogLine("only for observers: %s%n");
    const std::vector<std::string> expected = {"Selecting matrix switcher with name: evil\\nname\\x1B[2J", "100% of 5",
                                               "only for observers: %s%n"};
    EXPECT_EQ(log.lines(), expected);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), expected[0] + "\n" + expected[1] + "\n");
}

TEST(NSLog, observersSeeTheLinesOfAllThreadsUntilTheyEnd) {
    int briefly = 0;
    const test::LogLines log;
    std::vector<std::jthread> writers;
    for (int writer = 0; writer < 4; ++writer) {
        writers.emplace_back([&briefly] {
            for (int i = 0; i < 50; ++i) {
                // Counts without a lock: the observers of several threads must not run at once.
                const NSLogObservation observation([&briefly](const std::string&) { ++briefly; });
                NSLog("line %i", i);
            }
        });
    }
    writers.clear();
    EXPECT_EQ(log.lines().size(), 200u);
    EXPECT_EQ(log.count("line 49"), 4);
    EXPECT_GE(briefly, 200);
    const int before = briefly;
    NSLog("nobody else listens");
    EXPECT_EQ(briefly, before);
}

}  // namespace
}  // namespace velmora
