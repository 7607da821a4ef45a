// The server's announcement on the network, from its making to its destruction.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/network/NSNetService.h"

namespace velmora {

// Main thread only; works while its event loop runs.
class Announcement final : public NSNetServiceDelegate {
  public:
    using Announced = std::function<void(const std::string& name)>;
    using NotAnnounced = std::function<void(const std::string& reason)>;

    // Port in host byte order. The name that is told may differ from the one asked for, where that is taken.
    Announcement(const std::string& name, std::uint16_t port, Announced announced, NotAnnounced notAnnounced);
    // Withdraws the service.
    ~Announcement() override;

  private:
    void netServiceDidResolveAddress(NSNetService&) override {}
    void netServiceDidPublish(NSNetService& service) override;
    void netServiceDidNotPublish(NSNetService& service, const std::string& reason) override;

    const Announced announced_;
    const NotAnnounced notAnnounced_;
    const std::shared_ptr<NSNetService> service_;
};

}  // namespace velmora
