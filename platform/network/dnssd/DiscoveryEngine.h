// What the discovery thread does: browses, resolves and publishes for the whole process, with one state for each
// service.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/network/dnssd/DiscoveredService.h"
#include "platform/network/dnssd/ServicePublication.h"

namespace velmora {

// Services that are known at a time. Where there are more, those give way that are the least missed (see
// DiscoveryEngine::makeRoom); what had to is listed when there is room again.
inline constexpr std::size_t kMaximumServices = 4096;
// The time limit (seconds) of a resolution that a connection asks for.
inline constexpr double kConnectResolutionTimeout = 10.0;

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
    DiscoveryEngine(const DiscoveryEngine&) = delete;
    DiscoveryEngine& operator=(const DiscoveryEngine&) = delete;
    // Requests that are open are dropped unanswered.
    ~DiscoveryEngine();

    // Brings everything up to date with what the network and the callers have said. Once in each turn of the loop.
    void settle();
    // Whether anything still has to be done or watched.
    bool isNeeded() const {
        return !browses_.empty() || !services_.empty() || !publications_.empty() || goodbyes_ != 0;
    }

    void limitToInterfaces(std::vector<std::string> interfaces) { keeper_.limitToInterfaces(std::move(interfaces)); }

    // The listener is told of the services that are present already, too.
    void browse(const std::string& type, const std::string& domain, std::shared_ptr<BrowseListener> listener);
    void endBrowse(const std::shared_ptr<BrowseListener>& listener);
    // What a listener prefers is another service now: one that had no room comes back.
    void preferenceChanged();

    void resolve(const ServiceKey& key, ResolutionRequest request);
    // All of one owner's.
    void endRequests(std::uint64_t owner);
    // Answers at once for a service that is resolved, or absent; otherwise when it has been resolved.
    void findAddresses(const ServiceKey& key, std::function<void(std::vector<SocketAddress>)> answer);

    // An owner publishes one service; a second one takes the place of the first.
    void publish(std::uint64_t owner, const ServiceKey& key, std::uint16_t port, ServicePublication::Report report);
    // `done` is called when the goodbye has gone out.
    void withdraw(std::uint64_t owner, std::function<void()> done);

  private:
    using Kind = std::pair<std::string, std::string>;  // type, domain
    struct Browse {
        std::unique_ptr<MonitoredRecords> pointers;
        std::vector<std::shared_ptr<BrowseListener>> listeners;
        bool incomplete = false;  // some had no room
    };
    using Services = std::map<ServiceKey, std::unique_ptr<DiscoveredService>>;

    void heardPointer(const Kind& kind, const NetworkRecord& record, bool present);
    DiscoveredService& service(const ServiceKey& key);
    void updateService(const ServiceKey& key);
    bool isWanted(const ServiceKey& key, const DiscoveredService& service) const;
    void makeRoom();
    void giveUp(Services::iterator entry);
    void lookForTheRest();
    void touch(const ServiceKey& key) { touched_.insert(key); }

    DiscoveryLoop& loop_;
    const std::size_t maximumServices_;
    BackendSupply keeper_;
    HostDirectory hosts_;
    std::map<Kind, Browse> browses_;
    Services services_;
    std::uint64_t arrivals_ = 0;
    std::set<ServiceKey> touched_;
    std::map<std::uint64_t, std::unique_ptr<ServicePublication>> publications_;
    int goodbyes_ = 0;
    bool fullNoted_ = false;
};

}  // namespace velmora
