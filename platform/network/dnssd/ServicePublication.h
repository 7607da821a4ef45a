// One service of our own, announced for as long as this lives.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/foundation/Result.h"
#include "platform/network/dnssd/BackendSupply.h"
#include "platform/network/dnssd/ServiceKey.h"

namespace velmora {

// Who keeps a name. A newcomer never takes a name from a service that answers: its first question is answered within
// the three quarters of a second that it waits, and it takes the next free name at once ("Router" becomes "Router #2").
//
// A service that has been announced can lose its name all the same, when its machine, its velmora-mdns or its daemon
// was silent while a newcomer asked. Both believe to own the name then, and multicast DNS knows no seniority: both ask
// again, and who has the greater data wins (in practice, the higher port). Avahi 0.8 gives up at the first such loss,
// also at one against a packet that was late, forged, or its own. So a name that was announced is claimed once more,
// after one to two seconds, as RFC 6762 8.2 has it. Only who meets an owner that answers even then is renamed.
//
// This much is certain: a name is lost only to somebody who has it and defends it. That the older of two such owners
// keeps it is not, nor could it be without announcing what was not asked for, against the rules of multicast DNS.
//
// Discovery thread only.
class ServicePublication final : public BackendUser {
  public:
    // `report` is called with the name when the service is announced, again when it had to take another name later, or
    // once, and as the last call, with the reason why it cannot be announced.
    using Report = std::function<void(const std::string& name, const Result<void>& outcome)>;

    ServicePublication(DiscoveryLoop& loop, BackendSupply& supply, ServiceKey key, std::uint16_t port, Report report);
    ~ServicePublication();

    // Goes on with whatever has become possible or necessary.
    void update();
    bool hasFailed() const { return failed_; }

    void backendCame(DiscoveryBackend&) override {}
    void backendGoes() override;
    void graceTimeEnded() override {}

  private:
    void announce();
    void nameIsTaken();
    void rename();
    void fail(const Failure& failure);

    BackendSupply& supply_;
    ServiceKey key_;
    const std::uint16_t port_;
    const Report report_;
    std::unique_ptr<EntryGroup> group_;
    std::optional<AvahiEntryGroupState> news_;
    std::string announcedName_;  // as reported last
    int renames_ = 0;
    bool isClaimingAgain_ = false;    // a name that was announced; until that works, or another one is taken
    DiscoveryLoop::Timer nextClaim_;  // set while it waits
    bool failed_ = false;
};

}  // namespace velmora
