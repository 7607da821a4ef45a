#include "platform/network/discovery/DiscoveryEngine.h"

#include <avahi-common/domain.h>

#include <algorithm>

#include "platform/foundation/NSLog.h"
#include "platform/foundation/Text.h"

namespace velmora {

namespace {

// A service is pointed to on each interface over each protocol.
constexpr std::size_t kMaximumPointers = 4 * kMaximumServices;
// Until a goodbye has gone out (seconds): Avahi sends it in its next turn, its daemon a little later.
constexpr double kGoodbyeTime = 0.02;

}  // namespace

DiscoveryEngine::DiscoveryEngine(DiscoveryLoop& loop, std::vector<std::string> interfaces)
    : loop_(loop), keeper_(loop, std::move(interfaces)), hosts_(keeper_, [this](const std::string& name) {
          for (const auto& [key, service] : services_) {
              if (service->usesHost(name)) touch(key);
          }
      }) {}

DiscoveryEngine::~DiscoveryEngine() = default;

void DiscoveryEngine::settle() {
    keeper_.settle();
    while (!touched_.empty()) {
        updateService(touched_.extract(touched_.begin()).value());
    }
    for (auto& [owner, publication] : publications_) {
        publication->update();
    }
    std::erase_if(publications_, [](const auto& entry) { return entry.second->hasFailed(); });
}

void DiscoveryEngine::updateService(const ServiceKey& key) {
    const auto found = services_.find(key);
    if (found == services_.end()) return;
    DiscoveredService& service = *found->second;
    const auto news = service.update();
    const auto browse = browses_.find({key.type, key.domain});
    if (browse == browses_.end()) {
        if (!service.hasRequests()) services_.erase(found);
        return;
    }
    for (const auto& listener : browse->second.listeners) {
        if (news == DiscoveredService::News::found) listener->serviceFound(key);
        if (news == DiscoveredService::News::removed) listener->serviceRemoved(key);
    }
}

DiscoveredService* DiscoveryEngine::service(const ServiceKey& key) {
    const auto known = services_.find(key);
    if (known != services_.end()) return known->second.get();
    if (services_.size() >= kMaximumServices) {
        const auto absent = std::find_if(services_.begin(), services_.end(), [](const auto& entry) {
            const DiscoveredService& service = *entry.second;
            return !service.isPresent() && !service.isAnnounced() && !service.hasRequests();
        });
        if (absent == services_.end()) {
            if (!std::exchange(fullNoted_, true))
                NSLog("More than %li services are announced, the rest is left out", kMaximumServices);
            return nullptr;
        }
        services_.erase(absent);
    }
    auto made = std::make_unique<DiscoveredService>(key, loop_, keeper_, hosts_, [this, key] { touch(key); });
    return services_.emplace(key, std::move(made)).first->second.get();
}

void DiscoveryEngine::browse(const std::string& type, const std::string& domain,
                             std::shared_ptr<BrowseListener> listener) {
    if (!avahi_is_valid_service_type_generic(type.c_str())) {
        NSLog("%@ is no type of services, there is nothing to look for", type);
        return;
    }
    const Kind kind{type, domain};
    Browse& browse = browses_[kind];
    for (const auto& [key, service] : services_) {
        if (key.type == type && key.domain == domain && service->isAnnounced()) listener->serviceFound(key);
    }
    browse.listeners.push_back(std::move(listener));
    if (browse.pointers != nullptr) return;
    browse.pointers = std::make_unique<MonitoredRecords>(
        keeper_, type + domain, AVAHI_DNS_TYPE_PTR, kMaximumPointers,
        [this, kind](const NetworkRecord& record, bool present) { heardPointer(kind, record, present); });
}

void DiscoveryEngine::endBrowse(const std::shared_ptr<BrowseListener>& listener) {
    for (auto browse = browses_.begin(); browse != browses_.end();) {
        std::erase(browse->second.listeners, listener);
        if (!browse->second.listeners.empty()) {
            ++browse;
            continue;
        }
        for (const auto& [key, service] : services_) {
            if (Kind{key.type, key.domain} != browse->first) continue;
            service->forgetAppearances();
            touch(key);
        }
        browse = browses_.erase(browse);
    }
}

// Called from within Avahi.
void DiscoveryEngine::heardPointer(const Kind& kind, const NetworkRecord& record, bool present) {
    char name[AVAHI_LABEL_MAX];
    char type[AVAHI_DOMAIN_NAME_MAX];
    char domain[AVAHI_DOMAIN_NAME_MAX];
    if (avahi_service_name_split(record.target.c_str(), name, sizeof name, type, sizeof type, domain, sizeof domain) <
        0)
        return;
    if (!avahi_domain_equal(type, kind.first.c_str()) || !avahi_domain_equal(domain, kind.second.c_str())) return;
    const ServiceKey key{kind.first, kind.second, name};
    if (key.name.empty() || !isValidUTF8(key.name)) return;
    if (present) {
        if (DiscoveredService* appeared = service(key)) appeared->appeared(record.interface, record.protocol);
    } else if (const auto known = services_.find(key); known != services_.end()) {
        known->second->disappeared(record.interface, record.protocol);
    }
    touch(key);
}

void DiscoveryEngine::resolve(const ServiceKey& key, ResolutionRequest request) {
    DiscoveredService* resolved = service(key);
    if (resolved == nullptr) return request.done(nullptr);
    resolved->request(std::move(request));
    touch(key);
}

void DiscoveryEngine::endRequests(std::uint64_t owner) {
    for (const auto& [key, service] : services_) {
        service->endRequests(owner);
        touch(key);
    }
}

void DiscoveryEngine::findAddresses(const ServiceKey& key, std::function<void(std::vector<SocketAddress>)> answer) {
    const auto known = services_.find(key);
    if (known != services_.end()) {
        const DiscoveredService& service = *known->second;
        if (service.isResolved() && !service.endpoint().addresses.empty()) return answer(service.endpoint().addresses);
        // One without requests was seen by a browse, and has gone.
        if (!service.isPresent() && !service.hasRequests()) return answer(service.lastKnownAddresses());
    }
    ResolutionRequest request;
    request.deadline = secondsFromNow(kConnectResolutionTimeout);
    request.toConnect = true;
    request.done = [this, key, answer = std::move(answer)](const ServiceEndpoint* endpoint) {
        if (endpoint != nullptr) return answer(endpoint->addresses);
        const auto unresolved = services_.find(key);
        answer(unresolved == services_.end() ? std::vector<SocketAddress>() : unresolved->second->lastKnownAddresses());
    };
    resolve(key, std::move(request));
}

void DiscoveryEngine::publish(std::uint64_t owner, const ServiceKey& key, std::uint16_t port,
                              ServicePublication::Report report) {
    publications_.erase(owner);
    publications_.emplace(owner, std::make_unique<ServicePublication>(keeper_, key, port, std::move(report)));
}

void DiscoveryEngine::withdraw(std::uint64_t owner, std::function<void()> done) {
    if (publications_.erase(owner) == 0) return done();
    ++goodbyes_;
    loop_.performAfter(kGoodbyeTime, [this, done = std::move(done)] {
        --goodbyes_;
        done();
    });
}

}  // namespace velmora
