// A service announced on the test's network, under a unique name.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "platform/network/NSNetService.h"
#include "tests/support/MainLoop.h"

namespace velmora::test {

// The constructor returns when the service is announced; the destructor withdraws it.
class PublishedService : private NSNetServiceDelegate {
  public:
    PublishedService(const std::string& name, std::uint16_t port, const std::string& type = "_matrixswitcher._tcp.")
        : service_(std::make_shared<NSNetService>("", type, name, port)) {
        service_->setDelegate(this);
        service_->publish();
        EXPECT_TRUE(runMainLoopUntil([this] { return published_; })) << failure_;
        EXPECT_EQ(service_->name(), name);
    }
    ~PublishedService() override {
        service_->setDelegate(nullptr);
        service_->stop();
    }

  private:
    void netServiceDidResolveAddress(NSNetService&) override {}
    void netServiceDidPublish(NSNetService&) override { published_ = true; }
    void netServiceDidNotPublish(NSNetService&, const std::string& reason) override { failure_ = reason; }

    std::shared_ptr<NSNetService> service_;
    bool published_ = false;
    std::string failure_;
};

}  // namespace velmora::test
