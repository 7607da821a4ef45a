#include "platform/network/dnssd/DiscoveredService.h"

#include <avahi-common/address.h>
#include <avahi-common/domain.h>

#include <algorithm>
#include <set>
#include <tuple>

#include "platform/foundation/Text.h"

namespace velmora {

namespace {

// Locations that are kept for one service: a few for each interface and protocol.
constexpr std::size_t kMaximumLocations = 64;
// A service that is announced anew this soon after its goodbye has not gone in between (see RecordEvent::renewed).
constexpr Seconds kRenewalTime{1};

// Empty for what cannot be the name of a service.
std::string fullName(const ServiceKey& key) {
    char name[AVAHI_DOMAIN_NAME_MAX] = "";
    const int error =
        avahi_service_name_join(name, sizeof name, key.name.c_str(), key.type.c_str(), key.domain.c_str());
    return error < 0 ? std::string() : name;
}

}  // namespace

DiscoveredService::DiscoveredService(ServiceKey key, DiscoveryLoop& loop, BackendSupply& supply, HostDirectory& hosts,
                                     std::function<void()> touched)
    : key_(std::move(key)), nextLook_(loop), supply_(supply), directory_(hosts), touched_(std::move(touched)) {}

DiscoveredService::~DiscoveredService() {
    if (withdrawn_ != nullptr) *withdrawn_ = true;
}

void DiscoveredService::appeared(const NetworkRecord& pointer, std::uint64_t arrival, bool othersConfirmed) {
    if (!isPresent()) {
        arrival_ = arrival;
        // It has gone and come back before update() could tell of the first.
        if (announced_) renewed_ = true;
    }
    if (!pointers_.insert(pointer).second || !othersConfirmed || pointerWent_) confirmedAnew_ = true;
}

void DiscoveredService::forgetAppearances() {
    pointers_.clear();
    announced_ = false;
    withdrawn_ = nullptr;
}

void DiscoveredService::request(ResolutionRequest request) {
    watched_ = true;
    requests_.push_back(std::move(request));
}

void DiscoveredService::noteConnection(SharedFate connection) {
    connectedTo_ = true;
    connections_.push_back(std::move(connection));
    connectionLost_ = pointerWent_ = confirmedAnew_ = false;
}

// While a pointer is not confirmed, its interface away, say, nobody hears the goodbye of a server that restarts, and
// afterwards its announcement looks as it did before. The same goes for pointers that go and come one after another. A
// connection tells the two apart: it lives on, or it has ended.
void DiscoveredService::lookAtConnections(bool isConfirmed) {
    std::erase_if(connections_, [this](const SharedFate& connection) {
        const ConnectionFate fate = *connection;
        if (fate == ConnectionFate::ended) connectionLost_ = true;
        return fate != ConnectionFate::open;
    });
    if (!connectionLost_ || !connections_.empty() || !confirmedAnew_ || !isConfirmed) return;
    renewed_ = true;
}

void DiscoveredService::planNextLook(Date now) {
    Date next = settled_ && *settled_ > now ? *settled_ : Date::max();
    for (const ResolutionRequest& request : requests_) {
        next = std::min(next, request.deadline);
    }
    if (next == Date::max()) {
        nextLook_.cancel();
    } else {
        nextLook_.set(next, touched_);
    }
}

bool DiscoveredService::endRequests(std::uint64_t owner) {
    return std::erase_if(requests_, [owner](const ResolutionRequest& request) { return request.owner == owner; }) != 0;
}

DiscoveredService::News DiscoveredService::update(bool mayLeadNowhere, bool isConfirmed) {
    if (!isPresent()) {
        reported_.reset();
        timedOut_ = askedAhead_ = false;
        if (const auto presence = std::exchange(withdrawn_, nullptr)) *presence = true;
    } else if (withdrawn_ == nullptr) {
        withdrawn_ = std::make_shared<std::atomic<bool>>(false);
    }
    lookAtConnections(isConfirmed);
    updateQuestions();
    endpoint_ = currentEndpoint();
    if (endpoint_.addresses.empty()) {
        settled_.reset();
    } else {
        lastKnown_ = endpoint_.addresses;
        if (!settled_) settled_ = fromNow(kSettlingTime);
    }
    const bool moved = hasMoved();
    // One moment for both: a deadline that is still to come for the first must be planned for by the second.
    const Date now = std::chrono::steady_clock::now();
    answerRequests(now);
    planNextLook(now);

    if (moved) moved_ = now;
    // One that comes back elsewhere says goodbye, too, and is told once.
    if (moved_ + kRenewalTime > now) renewed_ = false;
    if (isPresent() != announced_) {
        renewed_ = connectionLost_ = pointerWent_ = confirmedAnew_ = false;
        if (isPresent() && !hasAddresses() && !mayLeadNowhere) return News::none;
        announced_ = isPresent();
        if (hasAddresses()) timedOut_ = false;  // this tells it
        return announced_ ? News::found : News::removed;
    }
    if (!announced_ || endpoint_.addresses.empty() || !(moved || timedOut_ || renewed_)) return News::none;
    timedOut_ = renewed_ = connectionLost_ = pointerWent_ = confirmedAnew_ = false;
    noteReport();
    return News::found;
}

void DiscoveredService::updateQuestions() {
    const bool wanted = hasRequests() || ((watched_ || askedAhead_) && isPresent());
    const std::string name = wanted ? fullName(key_) : std::string();
    if (name.empty()) {
        locations_.reset();
        hosts_.clear();
        return;
    }
    if (locations_ == nullptr) {
        locations_ = std::make_unique<MonitoredRecords>(supply_, name, AVAHI_DNS_TYPE_SRV, kMaximumLocations,
                                                        [this](const NetworkRecord&, RecordEvent) { touched_(); });
    }
    std::map<std::string, std::shared_ptr<HostAddresses>> hosts;
    for (const auto& [record, standing] : locations_->records()) {
        auto& host = hosts[record.target];
        if (host == nullptr) host = directory_.host(record.target);
    }
    hosts_.swap(hosts);
}

// The latest location on each interface and protocol counts, but only when an address belongs to it: while a server
// that came back elsewhere is not reachable there yet, its old place is as good as any. One that is not confirmed, lost
// with its interface, say, gives way to any later one that leads elsewhere.
std::map<DiscoveredService::Appearance, const DiscoveredService::Location*> DiscoveredService::currentLocations()
    const {
    const auto isReachable = [this](const Location& location) {
        return !hosts_.at(location.first.target)->onInterface(location.first.interface).empty();
    };
    const Location* latest = nullptr;
    for (const Location& location : locations_->records()) {
        if (!location.second.confirmed || !isReachable(location)) continue;
        if (latest == nullptr || latest->second.arrival < location.second.arrival) latest = &location;
    }
    const auto givesWay = [latest](const Location& location) {
        return latest != nullptr && !location.second.confirmed && location.second.arrival < latest->second.arrival &&
               std::tie(location.first.target, location.first.port) !=
                   std::tie(latest->first.target, latest->first.port);
    };
    std::map<Appearance, const Location*> current;
    for (const Location& location : locations_->records()) {
        if (givesWay(location) || !isReachable(location)) continue;
        const Location*& best = current[{location.first.interface, location.first.protocol}];
        if (best == nullptr || best->second.arrival < location.second.arrival) best = &location;
    }
    return current;
}

ServiceEndpoint DiscoveredService::currentEndpoint() const {
    struct Found {
        std::size_t family;  // by size, so that IPv4 comes first
        int interface;
        std::string address;
        std::uint64_t arrival;
        const NetworkRecord* location;
    };
    ServiceEndpoint endpoint;
    endpoint.withdrawn = withdrawn_;
    if (locations_ == nullptr) return endpoint;
    std::vector<Found> found;
    for (const auto& [appearance, location] : currentLocations()) {
        for (auto& address : hosts_.at(location->first.target)->onInterface(appearance.first)) {
            const std::size_t size = address.size();
            found.push_back({size, appearance.first, std::move(address), location->second.arrival, &location->first});
        }
    }
    // Where IPv4 and IPv6 do not agree yet about an address, the later word counts. A place that the server has left
    // must not be listed, or its withdrawal would be news.
    std::sort(found.begin(), found.end(), [](const Found& left, const Found& right) {
        return std::tie(left.family, left.interface, left.address, right.arrival) <
               std::tie(right.family, right.interface, right.address, left.arrival);
    });
    const auto sameAddress = [](const Found& left, const Found& right) {
        return left.interface == right.interface && left.address == right.address;
    };
    found.erase(std::unique(found.begin(), found.end(), sameAddress), found.end());
    for (const Found& one : found) {
        const auto* const bytes = reinterpret_cast<const std::uint8_t*>(one.address.data());
        const auto address = SocketAddress::fromBytes({bytes, one.address.size()}, one.location->port,
                                                      static_cast<std::uint32_t>(one.interface));
        if (std::find(endpoint.addresses.begin(), endpoint.addresses.end(), address) == endpoint.addresses.end()) {
            endpoint.addresses.push_back(address);
        }
    }
    keepMaximum(endpoint.addresses);
    if (!found.empty()) {
        endpoint.hostName = withTrailingDot(found.front().location->target);
        endpoint.port = found.front().location->port;
    }
    return endpoint;
}

// Of too many, those stay that were told last.
void DiscoveredService::keepMaximum(std::vector<SocketAddress>& addresses) const {
    if (addresses.size() <= kMaximumAddresses) return;
    if (reported_) {
        std::stable_partition(addresses.begin(), addresses.end(), [this](const SocketAddress& address) {
            return std::ranges::count(reported_->addresses, address) != 0;
        });
    }
    addresses.erase(addresses.begin() + kMaximumAddresses, addresses.end());
}

DiscoveredService::Answer DiscoveredService::answerOf(const Appearance& appearance) const {
    const auto [interface, protocol] = appearance;
    Answer best = Answer::none;
    for (const auto& [record, standing] : locations_->records()) {
        if (record.interface != interface) continue;
        for (const auto& address : hosts_.at(record.target)->onInterface(interface)) {
            const int family = address.size() == 4 ? AVAHI_PROTO_INET : AVAHI_PROTO_INET6;
            if (record.protocol == protocol && family == protocol) return Answer::full;
            best = Answer::some;
        }
    }
    return best;
}

DiscoveredService::Answer DiscoveredService::answerOfAll() const {
    if (locations_ == nullptr || endpoint_.addresses.empty()) return Answer::none;
    Answer worst = Answer::full;
    for (const NetworkRecord& pointer : pointers_) {
        worst = std::min(worst, answerOf({pointer.interface, pointer.protocol}));
    }
    if (!isPresent()) {
        // No browse says where to expect it.
        for (const auto& [record, standing] : locations_->records()) {
            worst = std::min(worst, answerOf({record.interface, record.protocol}));
        }
    }
    return worst;
}

void DiscoveredService::answerRequests(Date now) {
    if (requests_.empty()) return;
    const bool hasSettled = settled_ && *settled_ <= now;
    const Answer answer = answerOfAll();
    // The IPv6 half of an announcement may arrive first and look complete; IPv4 is waited for.
    const bool found = !endpoint_.addresses.empty();
    const bool hasIPv4 = found && endpoint_.addresses.front().family() == AF_INET;
    const bool complete = answer != Answer::none && (hasSettled || (answer == Answer::full && hasIPv4));

    std::vector<ResolutionRequest> due;
    std::erase_if(requests_, [&](ResolutionRequest& request) {
        if (!complete && !(request.toConnect && hasSettled) && request.deadline > now) return false;
        due.push_back(std::move(request));
        return true;
    });
    for (const ResolutionRequest& request : due) {
        if (found) noteReport();
        if (!request.toConnect) timedOut_ = !found;
        request.done(found ? &endpoint_ : nullptr);
    }
}

void DiscoveredService::noteReport() {
    reported_ = endpoint_;
    std::set<const NetworkRecord*> used;
    std::set<std::string> usedHosts;
    for (const auto& [appearance, location] : currentLocations()) {
        used.insert(&location->first);
        usedHosts.insert(location->first.target);
    }
    locations_->noteUse([&](const NetworkRecord& record) { return used.contains(&record); });
    for (const auto& [name, host] : hosts_) {
        host->noteUse(usedHosts.contains(name));
    }
}

// The addresses of a host change although it stays where it is: temporary ones of IPv6 do every day, a cable is pulled,
// a redundant interface loses its partner. Being found again makes the plugin connect anew and, when it was started
// with defaults, route these over what is on air. So it takes more: another host or port, or that none is left of the
// addresses that were told last. A connection to the address that went ends by itself.
bool DiscoveredService::hasMoved() const {
    if (!reported_ || endpoint_.addresses.empty()) return false;
    if (reported_->port != endpoint_.port || caseInsensitiveCompare(reported_->hostName, endpoint_.hostName) != 0)
        return true;
    const auto isGone = [&](const SocketAddress& address) {
        const auto& now = endpoint_.addresses;
        return std::find(now.begin(), now.end(), address) == now.end();
    };
    return std::all_of(reported_->addresses.begin(), reported_->addresses.end(), isGone);
}

}  // namespace velmora
