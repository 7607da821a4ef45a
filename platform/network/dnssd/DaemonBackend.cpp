#include "platform/network/dnssd/DaemonBackend.h"

#include <avahi-client/lookup.h>
#include <avahi-client/publish.h>
#include <avahi-common/address.h>
#include <avahi-common/error.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <sys/socket.h>

#include <array>
#include <string_view>

namespace velmora {

namespace {

// Connections to the daemon, each good for about a thousand questions.
constexpr std::size_t kMaximumClients = 16;
// A daemon that has no room, or does not reply, is left alone for this time: the next question would try every
// connection, or wait for the reply, just as long.
constexpr Seconds kPause{1};

using Interfaces = std::set<AvahiIfIndex>;

// Whether nothing can be heard there: the daemon withdraws at once what it has heard on an interface that goes down or
// loses its address. It does not say why, so one that is back before this looks is missed.
bool isLost(AvahiIfIndex interface, AvahiProtocol protocol) {
    std::array<char, IF_NAMESIZE> name{};
    ifaddrs* addresses = nullptr;
    if (if_indextoname(static_cast<unsigned>(interface), name.data()) == nullptr) return true;
    if (getifaddrs(&addresses) != 0) return false;
    const AvahiOwner<ifaddrs, freeifaddrs> owner(addresses);
    constexpr unsigned needed = IFF_UP | IFF_RUNNING;
    for (const ifaddrs* one = addresses; one != nullptr; one = one->ifa_next) {
        if (one->ifa_addr == nullptr || one->ifa_addr->sa_family != avahi_proto_to_af(protocol)) continue;
        const std::string_view label = one->ifa_name;  // as in "eth0:1", or the interface's name
        if ((one->ifa_flags & needed) == needed && label.substr(0, label.find(':')) == name.data()) return false;
    }
    return true;
}

class Query final : public RecordQuery {
  public:
    explicit Query(RecordHandler handler) : handler_(std::move(handler)) {}

    // Asks on the given interfaces alone: what is not to be heard is not to be asked for either.
    bool start(AvahiClient* client, const Interfaces& interfaces, const std::string& name, std::uint16_t type) {
        type_ = type;
        browsers_.clear();  // those of a client that had no room for all
        for (const AvahiIfIndex interface : interfaces) {
            browsers_.emplace_back(avahi_record_browser_new(client, interface, AVAHI_PROTO_UNSPEC, name.c_str(),
                                                            AVAHI_DNS_CLASS_IN, type_, AVAHI_LOOKUP_USE_MULTICAST,
                                                            heard, this));
            if (browsers_.back() == nullptr) return false;
        }
        return true;
    }

  private:
    static void heard(AvahiRecordBrowser*, AvahiIfIndex interface, AvahiProtocol protocol, AvahiBrowserEvent event,
                      const char*, std::uint16_t, std::uint16_t type, const void* data, std::size_t size,
                      AvahiLookupResultFlags, void* self) {
        const auto* query = static_cast<Query*>(self);
        if (event != AVAHI_BROWSER_NEW && event != AVAHI_BROWSER_REMOVE) return;
        if (data == nullptr || type != query->type_) return;
        const auto seen = networkRecord(interface, protocol, type, {static_cast<const std::uint8_t*>(data), size});
        if (!seen) return;
        if (event == AVAHI_BROWSER_NEW) return query->handler_(*seen, RecordEvent::came);
        query->handler_(*seen, isLost(interface, protocol) ? RecordEvent::lost : RecordEvent::went);
    }

    const RecordHandler handler_;
    std::uint16_t type_ = 0;
    std::vector<AvahiOwner<AvahiRecordBrowser, avahi_record_browser_free>> browsers_;
};

class Group final : public EntryGroup {
  public:
    Group(AvahiClient* client, const Interfaces& interfaces, EntryGroupHandler handler)
        : interfaces_(interfaces),
          handler_(std::move(handler)),
          group_(avahi_entry_group_new(client, stateChanged, this)) {}
    bool isMade() const { return group_ != nullptr; }

    int announce(const ServiceKey& key, std::uint16_t port) override {
        int error = avahi_entry_group_reset(group_.get());
        if (error < 0) return error;
        if (interfaces_.empty()) return AVAHI_ERR_INVALID_INTERFACE;
        for (const AvahiIfIndex interface : interfaces_) {
            error = avahi_entry_group_add_service(group_.get(), interface, AVAHI_PROTO_UNSPEC, AvahiPublishFlags{},
                                                  key.name.c_str(), key.type.c_str(), key.domain.c_str(), nullptr, port,
                                                  nullptr);
            if (error < 0) return error;
        }
        return avahi_entry_group_commit(group_.get());
    }

  private:
    static void stateChanged(AvahiEntryGroup*, AvahiEntryGroupState state, void* self) {
        static_cast<Group*>(self)->handler_(state);
    }

    const Interfaces& interfaces_;
    const EntryGroupHandler handler_;
    const AvahiOwner<AvahiEntryGroup, avahi_entry_group_free> group_;
};

}  // namespace

std::unique_ptr<DaemonBackend> DaemonBackend::create(const AvahiPoll* poll, std::vector<std::string> interfaces,
                                                     std::function<void()> changed) {
    std::unique_ptr<DaemonBackend> backend(new DaemonBackend(poll, std::move(interfaces), std::move(changed)));
    if (!backend->addClient(AVAHI_CLIENT_NO_FAIL)) return nullptr;
    return backend;
}

DaemonBackend::~DaemonBackend() = default;

bool DaemonBackend::addClient(AvahiClientFlags flags) {
    const auto changed = [](AvahiClient* client, AvahiClientState state, void* self) {
        static_cast<DaemonBackend*>(self)->stateChanged(client, state);
    };
    AvahiClient* client = avahi_client_new(poll_, flags, changed, this, &error_);
    if (client != nullptr) clients_.emplace_back(client);
    return client != nullptr;
}

void DaemonBackend::stateChanged(AvahiClient* client, AvahiClientState state) {
    // The first client has this said of it before it is in the list.
    if (clients_.empty() || client == clients_.front().get()) state_ = state;
    if (state == AVAHI_CLIENT_FAILURE) failed_ = true;
    changed_();
}

bool DaemonBackend::isAnswering() const {
    return !failed_ && (state_ == AVAHI_CLIENT_S_REGISTERING || state_ == AVAHI_CLIENT_S_RUNNING ||
                        state_ == AVAHI_CLIENT_S_COLLISION);
}

void DaemonBackend::lookUpInterfaces() {
    indexes_.clear();
    if (interfaces_.empty()) indexes_.insert(AVAHI_IF_UNSPEC);
    for (const std::string& name : interfaces_) {
        const unsigned index = if_nametoindex(name.c_str());
        if (index != 0) indexes_.insert(static_cast<AvahiIfIndex>(index));
    }
}

std::string DaemonBackend::lastError() const {
    return avahi_strerror(error_);
}

std::unique_ptr<RecordQuery> DaemonBackend::query(const std::string& name, std::uint16_t type, RecordHandler handler) {
    if (std::chrono::steady_clock::now() < pauseEnd_) return nullptr;
    auto query = std::make_unique<Query>(std::move(handler));
    // The latest client is the likeliest to have room.
    for (auto client = clients_.rbegin(); client != clients_.rend(); ++client) {
        if (query->start(client->get(), indexes_, name, type)) return query;
        error_ = avahi_client_errno(client->get());
        if (error_ != AVAHI_ERR_TOO_MANY_OBJECTS) break;
    }
    if (error_ == AVAHI_ERR_TOO_MANY_OBJECTS && clients_.size() < kMaximumClients && addClient(AvahiClientFlags{})) {
        if (query->start(clients_.back().get(), indexes_, name, type)) return query;
        error_ = avahi_client_errno(clients_.back().get());
    }
    if (error_ == AVAHI_ERR_TOO_MANY_OBJECTS || error_ == AVAHI_ERR_DBUS_ERROR) pauseEnd_ = fromNow(kPause);
    return nullptr;
}

std::unique_ptr<EntryGroup> DaemonBackend::makeEntryGroup(EntryGroupHandler handler) {
    auto group = std::make_unique<Group>(clients_.front().get(), indexes_, std::move(handler));
    if (!group->isMade()) return nullptr;
    return group;
}

}  // namespace velmora
