#include "platform/network/dnssd/ServicePublication.h"

#include <avahi-common/alternative.h>
#include <avahi-common/domain.h>
#include <avahi-common/error.h>
#include <avahi-common/malloc.h>

#include <random>
#include <utility>

#include "platform/foundation/Text.h"

namespace velmora {

namespace {

constexpr std::size_t kMaximumNameBytes = 63;
// A network in which this many names are taken does not want us.
constexpr int kMaximumRenames = 100;

// A name that was lost is claimed again after this time, and up to as much more by chance, so that two who have both
// lost it do not meet again.
constexpr std::chrono::milliseconds kClaimPause{1000};

std::chrono::milliseconds randomClaimPause() {
    std::uniform_int_distribution<std::chrono::milliseconds::rep> more(0, kClaimPause.count());
    std::random_device source;
    return kClaimPause + std::chrono::milliseconds(more(source));
}

Result<void> canBeAnnounced(const ServiceKey& key, std::uint16_t port) {
    if (key.name.empty()) return Failure{"the service has no name"};
    if (key.name.size() > kMaximumNameBytes) {
        return Failure{stringWithFormat("the name is %li bytes long, at most %li are possible", key.name.size(),
                                        kMaximumNameBytes)};
    }
    if (!isValidUTF8(key.name) || key.name.find('\0') != std::string::npos) return Failure{"the name is no text"};
    if (!avahi_is_valid_service_type_generic(key.type.c_str())) {
        return Failure{stringWithFormat("%@ is no type of services", key.type)};
    }
    if (!isValidUTF8(key.domain) || !avahi_is_valid_domain_name(key.domain.c_str())) {
        return Failure{"the domain has no valid name"};
    }
    if (port == 0) return Failure{"the service has no port"};
    return {};
}

}  // namespace

ServicePublication::ServicePublication(DiscoveryLoop& loop, BackendSupply& supply, ServiceKey key, std::uint16_t port,
                                       Report report)
    : supply_(supply), key_(std::move(key)), port_(port), report_(std::move(report)), nextClaim_(loop) {
    supply_.addUser(*this);
    if (const auto possible = canBeAnnounced(key_, port_); !possible) {
        fail(possible.failure());
    } else {
        supply_.requirePublishing();
    }
}

ServicePublication::~ServicePublication() {
    supply_.removeUser(*this);
}

void ServicePublication::backendGoes() {
    group_.reset();
    news_.reset();
}

void ServicePublication::update() {
    if (failed_ || nextClaim_.isSet()) return;
    DiscoveryBackend* backend = supply_.backend();
    if (backend == nullptr) {
        // Once announced, it waits for better times.
        if (announcedName_.empty() && !supply_.isRestarting()) fail({supply_.lastError()});
        return;
    }
    if (!backend->isReadyToPublish()) {
        backendGoes();
        return;
    }
    if (group_ == nullptr) {
        group_ = backend->makeEntryGroup([this](AvahiEntryGroupState state) { news_ = state; });
        if (group_ != nullptr) {
            announce();
        } else if (announcedName_.empty()) {
            fail({"the service could not be registered"});
        }
        if (group_ == nullptr) return;
    }
    const auto news = std::exchange(news_, std::nullopt);
    if (news == AVAHI_ENTRY_GROUP_COLLISION) {
        nameIsTaken();
    } else if (news == AVAHI_ENTRY_GROUP_FAILURE) {
        fail({"the registration has failed"});
    } else if (news == AVAHI_ENTRY_GROUP_ESTABLISHED) {
        isClaimingAgain_ = false;
        if (announcedName_ == key_.name) return;
        announcedName_ = key_.name;
        report_(key_.name, {});
    }
}

void ServicePublication::announce() {
    const int error = group_->announce(key_, port_);
    // With another service of the same machine it collides at once.
    if (error == AVAHI_ERR_COLLISION) return nameIsTaken();
    // Once announced, it waits for its interfaces to come back.
    if (error == AVAHI_ERR_INVALID_INTERFACE && !announcedName_.empty()) return;
    if (error < 0) fail({avahi_strerror(error)});
}

void ServicePublication::nameIsTaken() {
    if (announcedName_ != key_.name || std::exchange(isClaimingAgain_, true)) {
        if (renames_ >= kMaximumRenames) return fail({avahi_strerror(AVAHI_ERR_COLLISION)});
        rename();
        announce();
        return;
    }
    backendGoes();
    nextClaim_.set(fromNow(randomClaimPause()), [] {});
}

void ServicePublication::rename() {
    ++renames_;
    const AvahiOwner<char, avahi_free> name(avahi_alternative_service_name(key_.name.c_str()));
    if (name != nullptr) key_.name = name.get();
}

void ServicePublication::fail(const Failure& failure) {
    group_.reset();
    failed_ = true;
    report_(key_.name, failure);
}

}  // namespace velmora
