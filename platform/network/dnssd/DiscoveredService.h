// One service as this process knows it: where it is seen, where it leads, and who waits to be told.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/network/SocketAddress.h"
#include "platform/network/dnssd/HostAddresses.h"
#include "platform/network/dnssd/ServiceKey.h"
#include "platform/threads/NSLock.h"

namespace velmora {

// Once an address is known, so long (seconds) is waited for what usually comes with it: the other family, other
// interfaces.
inline constexpr double kSettlingTime = 0.5;

// Where a service leads. Host and port are those of the first address; each address carries its own port.
struct ServiceEndpoint {
    // Becomes true once the service is withdrawn from the network; null when no browse has seen it. Any thread.
    std::shared_ptr<const std::atomic<bool>> withdrawn;
    std::string hostName;  // as in "host.local."
    std::uint16_t port = 0;
    std::vector<SocketAddress> addresses;  // IPv4 before IPv6, within each by interface, then numerically
};

struct ResolutionRequest {
    std::uint64_t owner = 0;
    Date deadline;
    // Connecting does not wait for appearances that do not answer, resolving does.
    bool toConnect = false;
    // Called once, with null when nothing was found by the deadline.
    std::function<void(const ServiceEndpoint*)> done;
};

// Discovery thread only. `touched` asks for an update() before long; it may be called from within Avahi.
class DiscoveredService {
  public:
    DiscoveredService(ServiceKey key, DiscoveryLoop& loop, BackendSupply& keeper, HostDirectory& hosts,
                      std::function<void()> touched);
    // Open requests are dropped unanswered.
    ~DiscoveredService();

    // A browse has heard a record that points to the service on an interface over a protocol, or no longer does.
    // `arrival` is higher for what came later, and counts while the service was absent.
    void appeared(const NetworkRecord& pointer, std::uint64_t arrival);
    void disappeared(const NetworkRecord& pointer) { pointers_.erase(pointer); }
    // No browse looks for it any more.
    void forgetAppearances();
    const std::set<NetworkRecord>& pointers() const { return pointers_; }
    bool isPresent() const { return !pointers_.empty(); }
    std::uint64_t arrival() const { return arrival_; }
    // Present as far as the browsers have been told.
    bool isAnnounced() const { return announced_; }

    // From its first request on a service is watched while it is present. An update() must follow.
    void request(ResolutionRequest request);
    // Whether there were any of this owner's.
    bool endRequests(std::uint64_t owner);
    bool hasRequests() const { return !requests_.empty(); }
    // Whether its addresses have ever been asked for to connect to it.
    bool isConnectedTo() const { return connectedTo_; }
    void noteConnection() { connectedTo_ = true; }

    bool usesHost(const std::string& name) const { return hosts_.contains(name); }
    // Whether it was resolved and is present; then `endpoint` is where it leads, without addresses while none is valid.
    bool isResolved() const { return isPresent() && reported_.has_value(); }
    const ServiceEndpoint& endpoint() const { return endpoint_; }
    const std::vector<SocketAddress>& lastKnownAddresses() const { return lastKnown_; }

    // What the browsers are to be told. Answers requests that are due, and begins or ends questions to the network.
    enum class News { none, found, removed };
    News update();

  private:
    using Appearance = std::pair<int, int>;  // interface, protocol
    enum class Answer { none, some, full };

    void planNextLook(Date now);
    void updateQuestions();
    ServiceEndpoint currentEndpoint() const;
    Answer answerOf(const Appearance& appearance) const;
    Answer answerOfAll() const;
    void answerRequests(Date now);
    bool hasMoved() const;

    const ServiceKey key_;
    DiscoveryLoop::Timer nextLook_;
    BackendSupply& keeper_;
    HostDirectory& directory_;
    const std::function<void()> touched_;

    std::set<NetworkRecord> pointers_;
    std::uint64_t arrival_ = 0;
    std::shared_ptr<std::atomic<bool>> withdrawn_;  // of this presence
    bool announced_ = false;
    bool connectedTo_ = false;
    bool watched_ = false;
    bool timedOut_ = false;  // a resolution has, and none has succeeded since
    std::unique_ptr<MonitoredRecords> locations_;
    std::map<std::string, std::shared_ptr<HostAddresses>> hosts_;
    std::vector<ResolutionRequest> requests_;
    ServiceEndpoint endpoint_;
    std::optional<Date> settled_;  // when the settling time ends, or has ended; none without an address
    std::optional<ServiceEndpoint> reported_;
    std::vector<SocketAddress> lastKnown_;
};

}  // namespace velmora
