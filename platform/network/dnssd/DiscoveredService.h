// One service as this process knows it: where it is seen, where it leads, and who is waiting for an answer.
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

#include "platform/network/dnssd/DiscoveryLoop.h"
#include "platform/network/dnssd/HostAddresses.h"
#include "platform/network/dnssd/Resolution.h"
#include "platform/network/dnssd/ServiceKey.h"

namespace velmora {

// After the first address this much time is left for those that usually follow: the other family, other interfaces.
inline constexpr Seconds kSettlingTime{0.5};

// Discovery thread only. `touched` asks for an update() soon; it may be called from within Avahi.
class DiscoveredService {
  public:
    DiscoveredService(ServiceKey key, DiscoveryLoop& loop, BackendSupply& supply, HostDirectory& hosts,
                      std::function<void()> touched);
    // Open requests are dropped unanswered.
    ~DiscoveredService();

    // A browse has heard a record that points to the service, on one interface over one protocol. `arrival` is higher
    // for a later record; the service takes that of the record that ends its absence. `othersConfirmed`: so is another
    // pointer. One that is heard again had been in doubt.
    void appeared(const NetworkRecord& pointer, std::uint64_t arrival, bool othersConfirmed);
    // It was withdrawn in between.
    void renewed() { renewed_ = true; }
    // That record has gone.
    void disappeared(const NetworkRecord& pointer) { pointerWent_ = pointers_.erase(pointer) != 0 || pointerWent_; }
    // No browse is looking for it any more.
    void forgetAppearances();
    const std::set<NetworkRecord>& pointers() const { return pointers_; }
    bool isPresent() const { return !pointers_.empty(); }
    std::uint64_t arrival() const { return arrival_; }
    // Whether the browsers have been told that it is present.
    bool isAnnounced() const { return announced_; }

    // After its first request a service is watched for as long as it is present. An update() must follow.
    void request(ResolutionRequest request);
    // Whether there were any of this owner's.
    bool endRequests(std::uint64_t owner);
    bool hasRequests() const { return !requests_.empty(); }
    // Asks the network where it leads although nobody has requested that: until it goes, or until switched off.
    void askAhead(bool on) { askedAhead_ = on; }
    // Whether its addresses have ever been asked for to connect to it.
    bool isConnectedTo() const { return connectedTo_; }
    // Somebody connects to it. An update() must follow when the connection is over.
    void noteConnection(SharedFate connection);

    bool usesHost(const std::string& name) const { return hosts_.contains(name); }
    // Whether it is present and was resolved. `endpoint` is where it leads then; it has no addresses while none is
    // valid.
    bool isResolved() const { return isPresent() && reported_.has_value(); }
    const ServiceEndpoint& endpoint() const { return endpoint_; }
    bool hasAddresses() const { return !endpoint_.addresses.empty(); }
    const std::vector<SocketAddress>& lastKnownAddresses() const { return lastKnown_; }

    // Answers requests that are due, begins and ends questions to the network, and returns what the browsers are to be
    // told. They are not told of a service that leads nowhere yet unless `mayLeadNowhere`. `isConfirmed`: one of its
    // pointers is.
    enum class News { none, found, removed };
    News update(bool mayLeadNowhere, bool isConfirmed);

  private:
    using Appearance = std::pair<int, int>;  // interface, protocol
    enum class Answer { none, some, full };

    void lookAtConnections(bool isConfirmed);
    void planNextLook(Date now);
    void updateQuestions();
    using Location = MonitoredRecords::Records::value_type;
    std::map<Appearance, const Location*> currentLocations() const;
    ServiceEndpoint currentEndpoint() const;
    void keepMaximum(std::vector<SocketAddress>& addresses) const;
    Answer answerOf(const Appearance& appearance) const;
    Answer answerOfAll() const;
    void answerRequests(Date now);
    void noteReport();
    bool hasMoved() const;

    const ServiceKey key_;
    DiscoveryLoop::Timer nextLook_;
    BackendSupply& supply_;
    HostDirectory& directory_;
    const std::function<void()> touched_;

    std::set<NetworkRecord> pointers_;
    std::uint64_t arrival_ = 0;
    std::shared_ptr<std::atomic<bool>> withdrawn_;  // of this presence
    bool announced_ = false;
    bool connectedTo_ = false;
    std::vector<SharedFate> connections_;
    bool connectionLost_ = false;  // the last one has ended, and this has not been told yet
    // Since the last connection was opened: a pointer has gone, and one has come after that or after a doubt.
    bool pointerWent_ = false;
    bool confirmedAnew_ = false;
    bool watched_ = false;
    bool askedAhead_ = false;
    bool timedOut_ = false;  // a resolution has, and none has succeeded since
    bool renewed_ = false;   // withdrawn and announced anew, which has not been told yet
    Date moved_;             // when it was last seen to lead elsewhere
    std::unique_ptr<MonitoredRecords> locations_;
    std::map<std::string, std::shared_ptr<HostAddresses>> hosts_;
    std::vector<ResolutionRequest> requests_;
    ServiceEndpoint endpoint_;
    std::optional<Date> settled_;  // when the settling time ends, or has ended; none without an address
    std::optional<ServiceEndpoint> reported_;
    std::vector<SocketAddress> lastKnown_;
};

}  // namespace velmora
