// The switch server as a program of its own.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "tests/support/ChildProcess.h"

namespace velmora::test {

struct Program : ChildProcess {
    using ChildProcess::ChildProcess;
    // It ends in order. Under a sanitizer that has found something it does not.
    ~Program() {
        if (id() <= 0) return;
        EXPECT_EQ(exitCodeAfterSignal(), 0) << errors();
    }
    // The port in the first line.
    std::uint16_t port() {
        int port = 0;
        EXPECT_EQ(std::sscanf(outputLine().c_str(), "listening on 127.0.0.1:%d", &port), 1);
        return static_cast<std::uint16_t>(port);
    }
};

inline std::vector<std::string> server(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), VELMORA_SWITCH_SERVER);
    return arguments;
}

inline std::vector<std::string> shell(const char* commands) {
    return {"/bin/sh", "-c", commands, VELMORA_SWITCH_SERVER};
}

}  // namespace velmora::test
