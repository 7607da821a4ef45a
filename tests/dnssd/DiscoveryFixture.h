// Discovery without a daemon, on `lo`: a server to find, and what the watcher must have been told.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "platform/threads/NSThread.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ServiceWatch.h"

namespace velmora::test {

inline const char* const kType = "_matrixswitcher._tcp.";
inline const Strings kFoundRouter{"found Router", "resolved Router"};

// A switch server in a process of its own, from when it is announced on.
class ServerProcess : public ChildProcess {
  public:
    explicit ServerProcess(const std::string& name, const std::string& inputs = "16")
        : ChildProcess({VELMORA_SWITCH_SERVER, "--name", name, "--inputs", inputs}) {
        const std::string first = outputLineWith("listening on ");
        port = first.substr(first.rfind(':') + 1);
        EXPECT_NE(outputLineWith("announced as "), "");
    }
    std::string port;
};

// Whether these events come, and no others before them. They are forgotten then.
inline bool isTold(ServiceWatch& watcher, const Strings& expected) {
    watcher.waitForEvents(expected.size());
    EXPECT_EQ(watcher.events, expected);
    return std::exchange(watcher.events, {}) == expected;
}

class Discovery : public testing::Test {
  protected:
    // Nothing needs the discovery thread any more, so it goes by itself.
    void TearDown() override {
        EXPECT_TRUE(runMainLoopUntil(
            [] { return NSThread::runningThreads() == 0 && NSThread::finishCancelledThreads(Seconds(0)); }));
    }
};

}  // namespace velmora::test
