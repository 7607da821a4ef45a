// Browses, resolves and publishes on the discovery thread for the whole process, with one state for each service.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/foundation/Result.h"
#include "platform/network/dnssd/DiscoveryLoop.h"
#include "platform/network/dnssd/RecordEvent.h"
#include "platform/network/dnssd/Resolution.h"
#include "platform/network/dnssd/ServiceKey.h"
#include "platform/network/dnssd/UnannouncedServices.h"

namespace velmora {

class BackendSupply;
class DiscoveredService;
class HostDirectory;
class MonitoredRecords;
class ServicePublication;
struct NetworkRecord;

// The most services that are known at a time. Of more, those that are missed the least give way (see
// DiscoveryEngine::makeRoom); they come back when there is room again.
inline constexpr std::size_t kMaximumServices = 4096;
// The time limit of a resolution that a connection asks for.
inline constexpr Seconds kConnectResolutionTimeout{10};
// The same where the service's last known addresses can be tried instead. The command that connects must have time left
// for them.
inline constexpr Seconds kReconnectResolutionTimeout{2};

// Told on the discovery thread.
class BrowseListener {
  public:
    virtual ~BrowseListener() = default;
    // Appeared, or leads elsewhere now.
    virtual void serviceFound(const ServiceKey& key) = 0;
    virtual void serviceRemoved(const ServiceKey& key) = 0;
    // Whether this service must be listed even where there is no room. May answer differently each time.
    virtual bool prefers(const ServiceKey& key) const = 0;
};

// Discovery thread only. Nothing here waits for the network.
class DiscoveryEngine {
  public:
    DiscoveryEngine(DiscoveryLoop& loop, std::vector<std::string> interfaces,
                    std::size_t maximumServices = kMaximumServices);
    // Requests that are open are dropped unanswered.
    ~DiscoveryEngine();

    // Acts upon all that the network and the callers have said. To be called once in each turn of the loop.
    void settle();
    // Whether anything still has to be done or watched.
    bool isNeeded() const {
        return !browses_.empty() || !services_.empty() || !publications_.empty() || goodbyes_ != 0;
    }

    void limitToInterfaces(std::vector<std::string> interfaces);

    // The listener is also told of the services that are present already.
    void browse(const std::string& type, const std::string& domain, std::shared_ptr<BrowseListener> listener);
    void endBrowse(const std::shared_ptr<BrowseListener>& listener);
    // A listener prefers another service now, which comes back if it had no room.
    void preferenceChanged();

    void resolve(const ServiceKey& key, ResolutionRequest request);
    // All of one owner's.
    void endRequests(std::uint64_t owner);
    // Answers at once for a service that is resolved or absent, for others when they have been resolved. Where that
    // takes too long, the answer is the last known addresses. They are for this connection.
    void findAddresses(const ServiceKey& key, SharedFate connection,
                       std::function<void(std::vector<SocketAddress>)> answer);
    // One to this service.
    void connectionIsOver(const ServiceKey& key) { touch(key); }

    // An owner publishes one service; a second one takes the place of the first. The report is that of
    // ServicePublication.
    void publish(std::uint64_t owner, const ServiceKey& key, std::uint16_t port,
                 std::function<void(const std::string& name, const Result<void>& outcome)> report);
    // `done` is called when the goodbye has gone out.
    void withdraw(std::uint64_t owner, std::function<void()> done);

  private:
    using Kind = std::pair<std::string, std::string>;  // type, domain
    struct Browse {
        std::unique_ptr<MonitoredRecords> pointers;
        std::vector<std::shared_ptr<BrowseListener>> listeners;
    };
    using Services = std::map<ServiceKey, std::unique_ptr<DiscoveredService>>;

    void heardPointer(const Kind& kind, const NetworkRecord& record, RecordEvent event);
    DiscoveredService& service(const ServiceKey& key);
    void updateService(const ServiceKey& key);
    bool isConfirmed(const ServiceKey& key, const DiscoveredService& service) const;
    bool isWanted(const ServiceKey& key, const DiscoveredService& service) const;
    void makeRoom();
    void giveUp(Services::iterator entry);
    void takeBack();
    bool mayLeadNowhere(const ServiceKey& key, const DiscoveredService& service) const;
    void keepPlace();
    void askAhead();
    void touchUsersOf(const std::string& host);
    void touch(const ServiceKey& key) { touched_.insert(key); }

    DiscoveryLoop& loop_;
    const std::size_t maximumServices_;
    const std::unique_ptr<BackendSupply> supply_;
    const std::unique_ptr<HostDirectory> hosts_;
    std::map<Kind, Browse> browses_;
    Services services_;
    std::set<ServiceKey> touched_;
    UnannouncedServices unannounced_;
    DiscoveryLoop::Timer nextTurn_;
    std::set<ServiceKey> leadingNowhere_;  // announced all the same
    std::size_t keptPlaces_ = 0;           // of some that were among them, and have gone
    std::map<std::uint64_t, std::unique_ptr<ServicePublication>> publications_;
    int goodbyes_ = 0;
    bool fullNoted_ = false;
};

}  // namespace velmora
