// One service of our own, announced for as long as this lives.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/network/dnssd/BackendKeeper.h"
#include "platform/network/dnssd/ServiceKey.h"

namespace velmora {

// Discovery thread only.
class ServicePublication final : public BackendUser {
  public:
    // `report` is called with the name when the service is announced, again when it had to take another name later, or
    // once, and as the last call, with the reason why it cannot be announced.
    using Report = std::function<void(const std::string& name, const std::optional<std::string>& failure)>;

    ServicePublication(BackendKeeper& keeper, ServiceKey key, std::uint16_t port, Report report);
    ServicePublication(const ServicePublication&) = delete;
    ServicePublication& operator=(const ServicePublication&) = delete;
    ~ServicePublication();

    // Goes on with whatever has become possible or necessary.
    void update();
    bool hasFailed() const { return failed_; }

    void backendCame(DiscoveryBackend&) override {}
    void backendGoes() override;
    void graceTimeEnded() override {}
    void interfaceWent(int) override {}

  private:
    void announce();
    void rename();
    void fail(const std::string& reason);

    BackendKeeper& keeper_;
    ServiceKey key_;
    const std::uint16_t port_;
    const Report report_;
    std::unique_ptr<EntryGroup> group_;
    std::optional<AvahiEntryGroupState> news_;
    std::string announcedName_;  // as reported last
    int renames_ = 0;
    bool failed_ = false;
};

}  // namespace velmora
