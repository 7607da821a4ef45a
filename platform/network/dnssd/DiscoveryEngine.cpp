#include "platform/network/dnssd/DiscoveryEngine.h"

#include <avahi-common/domain.h>

#include <algorithm>
#include <iterator>
#include <tuple>
#include <utility>

#include "platform/foundation/NSLog.h"
#include "platform/foundation/Text.h"
#include "platform/network/dnssd/BackendSupply.h"
#include "platform/network/dnssd/DiscoveredService.h"
#include "platform/network/dnssd/ServicePublication.h"

namespace velmora {

namespace {

// There is a pointer to a service for each interface and protocol.
constexpr std::size_t kMaximumPointers = 4 * kMaximumServices;
// By then a goodbye has gone out: Avahi sends it in its next turn, its daemon a little later.
constexpr Seconds kGoodbyeTime{0.02};
// Names that lead nowhere and are told all the same, and how long the place of one that has gone stays taken.
constexpr std::size_t kMaximumLeadingNowhere = 16;
constexpr Seconds kPlaceTime{10};

}  // namespace

DiscoveryEngine::DiscoveryEngine(DiscoveryLoop& loop, std::vector<std::string> interfaces, std::size_t maximumServices)
    : loop_(loop),
      maximumServices_(maximumServices),
      supply_(std::make_unique<BackendSupply>(loop, std::move(interfaces))),
      hosts_(std::make_unique<HostDirectory>(*supply_, [this](const std::string& name) { touchUsersOf(name); })),
      nextTurn_(loop) {}

DiscoveryEngine::~DiscoveryEngine() = default;

void DiscoveryEngine::touchUsersOf(const std::string& host) {
    for (const auto& [key, service] : services_) {
        if (service->usesHost(host)) touch(key);
    }
}

void DiscoveryEngine::limitToInterfaces(std::vector<std::string> interfaces) {
    supply_->limitToInterfaces(std::move(interfaces));
}

void DiscoveryEngine::settle() {
    supply_->settle();
    takeBack();
    makeRoom();
    while (!touched_.empty()) {
        updateService(touched_.extract(touched_.begin()).value());
    }
    askAhead();
    for (auto& [owner, publication] : publications_) {
        publication->update();
    }
    std::erase_if(publications_, [](const auto& entry) { return entry.second->hasFailed(); });
}

void DiscoveryEngine::updateService(const ServiceKey& key) {
    const auto found = services_.find(key);
    if (found == services_.end()) return;
    DiscoveredService& service = *found->second;
    const auto news = service.update(mayLeadNowhere(key, service), isConfirmed(key, service));
    if (service.isPresent() && !service.isAnnounced()) {
        unannounced_.add(key);
    } else {
        unannounced_.remove(key);
    }
    if (service.isAnnounced() && !service.hasAddresses()) {
        leadingNowhere_.insert(key);
    } else if (leadingNowhere_.erase(key) != 0 && news == DiscoveredService::News::removed) {
        keepPlace();
    }
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

// A name that leads nowhere is told as long as there are few of them. Of the others those are told that turn out to
// lead somewhere: a name that is told costs its listener something when it goes, and anybody can announce thousands.
bool DiscoveryEngine::mayLeadNowhere(const ServiceKey& key, const DiscoveredService& service) const {
    if (isWanted(key, service)) return true;
    return !unannounced_.contains(key) && leadingNowhere_.size() + keptPlaces_ < kMaximumLeadingNowhere;
}

// The place of one that was told and went without having led anywhere. Otherwise the next of a flood would be told at
// once.
void DiscoveryEngine::keepPlace() {
    ++keptPlaces_;
    loop_.performAfter(kPlaceTime, [this] { --keptPlaces_; });
}

void DiscoveryEngine::askAhead() {
    const auto turns = unannounced_.nextTurns(std::chrono::steady_clock::now());
    const auto ask = [this](const ServiceKey& key, bool on) {
        services_.at(key)->askAhead(on);
        updateService(key);
    };
    for (const ServiceKey& key : turns.ended) {
        ask(key, false);
    }
    for (const ServiceKey& key : turns.begun) {
        ask(key, true);
    }
    if (const auto end = unannounced_.endOfTurn()) {
        nextTurn_.set(*end, [] {});  // ends the wait
    } else {
        nextTurn_.cancel();
    }
}

DiscoveredService& DiscoveryEngine::service(const ServiceKey& key) {
    auto& known = services_[key];
    if (known == nullptr)
        known = std::make_unique<DiscoveredService>(key, loop_, *supply_, *hosts_, [this, key] { touch(key); });
    return *known;
}

// Whether the network stands by one of its pointers at the moment.
bool DiscoveryEngine::isConfirmed(const ServiceKey& key, const DiscoveredService& service) const {
    const auto browse = browses_.find({key.type, key.domain});
    if (browse == browses_.end()) return false;
    const auto& records = browse->second.pointers->records();
    return std::ranges::any_of(service.pointers(), [&records](const NetworkRecord& pointer) {
        const auto known = records.find(pointer);
        return known != records.end() && known->second.confirmed;
    });
}

// What somebody has asked for by name, and what has been connected to, stays. The network has no say in either.
bool DiscoveryEngine::isWanted(const ServiceKey& key, const DiscoveredService& service) const {
    if (service.isConnectedTo()) return true;
    const auto browse = browses_.find({key.type, key.domain});
    return browse != browses_.end() && std::any_of(browse->second.listeners.begin(), browse->second.listeners.end(),
                                                   [&](const auto& listener) { return listener->prefers(key); });
}

// Those give way first that are gone and only remembered, then those that have not been seen to lead anywhere, as a
// flood of mere names does; among equals those that came first. So a newcomer has its chance to be resolved, and many
// of them do not drive out what works. It happens here, not when a record is heard, because nothing of a backend may be
// destroyed from within it.
void DiscoveryEngine::makeRoom() {
    if (services_.size() <= maximumServices_) return;
    using Worth = std::tuple<bool, bool, bool, std::uint64_t>;
    std::vector<std::pair<Worth, Services::iterator>> places;
    places.reserve(services_.size());
    for (auto entry = services_.begin(); entry != services_.end(); ++entry) {
        const DiscoveredService& service = *entry->second;
        places.emplace_back(Worth{isWanted(entry->first, service), service.isPresent() || service.hasRequests(),
                                  service.isResolved() || service.hasAddresses(), service.arrival()},
                            entry);
    }
    const auto kept = std::prev(places.end(), static_cast<std::ptrdiff_t>(maximumServices_));
    std::nth_element(places.begin(), kept, places.end(),
                     [](const auto& left, const auto& right) { return left.first < right.first; });
    std::for_each(places.begin(), kept, [this](const auto& place) { giveUp(place.second); });
}

void DiscoveryEngine::giveUp(Services::iterator entry) {
    const ServiceKey key = entry->first;
    const auto service = std::move(entry->second);
    services_.erase(entry);
    unannounced_.remove(key);
    if (leadingNowhere_.erase(key) != 0) keepPlace();
    const auto browse = browses_.find({key.type, key.domain});
    if (browse == browses_.end()) return;
    for (const NetworkRecord& pointer : service->pointers()) {
        browse->second.pointers->setAside(pointer);
    }
    if (service->isPresent() && !std::exchange(fullNoted_, true))
        NSLog("More than %li services are announced, the rest is left out", maximumServices_);
    if (!service->isAnnounced()) return;
    for (const auto& listener : browse->second.listeners) {
        listener->serviceRemoved(key);
    }
}

// When fewer are left than can be listed, what had no room comes back.
void DiscoveryEngine::takeBack() {
    if (std::none_of(browses_.begin(), browses_.end(),
                     [](const auto& browse) { return browse.second.pointers->hasSetAside(); }))
        return;
    const auto staying =
        static_cast<std::size_t>(std::count_if(services_.begin(), services_.end(), [this](auto& entry) {
            const auto& [key, service] = entry;
            return service->isPresent() || service->hasRequests() || isWanted(key, *service);
        }));
    if (staying >= maximumServices_) return;
    for (auto& [kind, browse] : browses_) {
        browse.pointers->takeBack(maximumServices_ - staying);
    }
}

// All that was set aside comes back, so that what is preferred now is among it; the others give way again.
void DiscoveryEngine::preferenceChanged() {
    for (auto& [kind, browse] : browses_) {
        browse.pointers->takeBack(kMaximumPointers);
    }
    for (const auto& [key, service] : services_) {
        if (unannounced_.contains(key) && isWanted(key, *service)) touch(key);
    }
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
        *supply_, type + domain, AVAHI_DNS_TYPE_PTR, kMaximumPointers,
        [this, kind](const NetworkRecord& record, RecordEvent event) { heardPointer(kind, record, event); });
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
void DiscoveryEngine::heardPointer(const Kind& kind, const NetworkRecord& record, RecordEvent event) {
    char name[AVAHI_LABEL_MAX];
    char type[AVAHI_DOMAIN_NAME_MAX];
    char domain[AVAHI_DOMAIN_NAME_MAX];
    if (avahi_service_name_split(record.target.c_str(), name, sizeof name, type, sizeof type, domain, sizeof domain) <
        0)
        return;
    if (!avahi_domain_equal(type, kind.first.c_str()) || !avahi_domain_equal(domain, kind.second.c_str())) return;
    const ServiceKey key{kind.first, kind.second, name};
    if (key.name.empty() || !isValidUTF8(key.name)) return;
    if (event != RecordEvent::went) {
        DiscoveredService& pointedTo = service(key);
        if (event == RecordEvent::renewed) pointedTo.renewed();
        const auto arrival = browses_.at(kind).pointers->records().at(record).arrival;
        pointedTo.appeared(record, arrival, isConfirmed(key, pointedTo));
    } else if (const auto known = services_.find(key); known != services_.end()) {
        known->second->disappeared(record);
    }
    touch(key);
}

void DiscoveryEngine::resolve(const ServiceKey& key, ResolutionRequest request) {
    service(key).request(std::move(request));
    touch(key);
}

void DiscoveryEngine::endRequests(std::uint64_t owner) {
    for (const auto& [key, service] : services_) {
        if (service->endRequests(owner)) touch(key);
    }
}

void DiscoveryEngine::findAddresses(const ServiceKey& key, SharedFate connection,
                                    std::function<void(std::vector<SocketAddress>)> answer) {
    const bool isKnown = services_.contains(key);
    DiscoveredService& target = service(key);
    target.noteConnection(std::move(connection));
    if (target.isResolved() && target.hasAddresses()) return answer(target.endpoint().addresses);
    // One without requests was seen by a browse, and has gone.
    if (isKnown && !target.isPresent() && !target.hasRequests()) return answer(target.lastKnownAddresses());
    const bool hasFallback = !target.lastKnownAddresses().empty();
    ResolutionRequest request;
    request.deadline = fromNow(hasFallback ? kReconnectResolutionTimeout : kConnectResolutionTimeout);
    request.toConnect = true;
    request.done = [this, key, answer = std::move(answer)](const ServiceEndpoint* endpoint) {
        if (endpoint != nullptr) return answer(endpoint->addresses);
        const auto unresolved = services_.find(key);
        answer(unresolved == services_.end() ? std::vector<SocketAddress>() : unresolved->second->lastKnownAddresses());
    };
    resolve(key, std::move(request));
}

void DiscoveryEngine::publish(std::uint64_t owner, const ServiceKey& key, std::uint16_t port,
                              std::function<void(const std::string&, const Result<void>&)> report) {
    publications_.erase(owner);
    publications_.emplace(owner, std::make_unique<ServicePublication>(loop_, *supply_, key, port, std::move(report)));
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
