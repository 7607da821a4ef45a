// A virtual switch server in this process, announced under a name, that can crash and come back elsewhere.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "server/SwitchServer.h"
#include "server/VirtualMatrix.h"
#include "tests/support/PublishedService.h"

namespace velmora::test {

inline Fault fault(const std::string& text) {
    const Result<Fault> parsed = parseFault(text);
    EXPECT_TRUE(parsed) << text;
    return parsed ? *parsed : Fault();
}

class VirtualSwitch {
  public:
    VirtualSwitch(std::string name, int inputs, int outputs) : matrix(inputs, outputs), name_(std::move(name)) {
        start();
    }

    void start() {
        server = std::make_unique<SwitchServer>(matrix, nullptr, &faults);
        EXPECT_TRUE(server->start("127.0.0.1", 0));
        announcement_ = std::make_unique<PublishedService>(name_, server->port());
    }
    void stop() {
        announcement_ = nullptr;
        server = nullptr;
    }

    VirtualMatrix matrix;
    FaultPlan faults;
    std::unique_ptr<SwitchServer> server;

  private:
    const std::string name_;
    std::unique_ptr<PublishedService> announcement_;
};

}  // namespace velmora::test
