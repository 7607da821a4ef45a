#include "platform/network/discovery/DaemonBackend.h"

#include <avahi-client/lookup.h>
#include <avahi-client/publish.h>
#include <avahi-common/error.h>
#include <dlfcn.h>
#include <net/if.h>

namespace velmora {

namespace {

// Connections to the daemon, each good for about a thousand questions.
constexpr std::size_t kMaximumClients = 16;

using Interfaces = std::vector<std::string>;

// Both of Avahi's libraries export a function of this name, and a plain call reaches the other one's (see
// InProcessBackend.cpp).
void freeEntryGroup(AvahiEntryGroup* group) {
    using Function = int (*)(AvahiEntryGroup*);
    static const auto function =
        reinterpret_cast<Function>(dlsym(dlopen("libavahi-client.so.3", RTLD_NOW), "avahi_entry_group_free"));
    if (function != nullptr) function(group);
}

class Query final : public RecordQuery {
  public:
    Query(const Interfaces& interfaces, RecordHandler handler)
        : interfaces_(interfaces), handler_(std::move(handler)) {}
    ~Query() override { freeBrowsers(); }

    // Asks on the given interfaces alone: what is not to be heard is not to be asked for either. One that the machine
    // does not have is passed over.
    bool start(AvahiClient* client, const std::string& name, std::uint16_t type) {
        type_ = type;
        if (interfaces_.empty()) return ask(client, AVAHI_IF_UNSPEC, name);
        for (const std::string& interface : interfaces_) {
            const unsigned index = if_nametoindex(interface.c_str());
            if (index != 0 && !ask(client, static_cast<AvahiIfIndex>(index), name)) return false;
        }
        return true;
    }

  private:
    static void heard(AvahiRecordBrowser*, AvahiIfIndex interface, AvahiProtocol protocol, AvahiBrowserEvent event,
                      const char* name, std::uint16_t recordClass, std::uint16_t type, const void* data,
                      std::size_t size, AvahiLookupResultFlags, void* self) {
        const auto* query = static_cast<Query*>(self);
        if (event != AVAHI_BROWSER_NEW && event != AVAHI_BROWSER_REMOVE) return;
        if (name == nullptr || type != query->type_) return;
        AvahiRecord* record = avahi_record_new_full(name, recordClass, type, AVAHI_DEFAULT_TTL);
        if (record == nullptr) return;
        if (avahi_rdata_parse(record, data, size) >= 0) {
            const auto seen = networkRecord(interface, protocol, *record);
            if (seen) query->handler_(*seen, event == AVAHI_BROWSER_NEW);
        }
        avahi_record_unref(record);
    }

    // What was asked before is taken back when this cannot be.
    bool ask(AvahiClient* client, AvahiIfIndex interface, const std::string& name) {
        AvahiRecordBrowser* browser =
            avahi_record_browser_new(client, interface, AVAHI_PROTO_UNSPEC, name.c_str(), AVAHI_DNS_CLASS_IN, type_,
                                     AVAHI_LOOKUP_USE_MULTICAST, heard, this);
        if (browser == nullptr) {
            freeBrowsers();
            return false;
        }
        browsers_.push_back(browser);
        return true;
    }

    void freeBrowsers() {
        for (AvahiRecordBrowser* browser : browsers_) {
            avahi_record_browser_free(browser);
        }
        browsers_.clear();
    }

    const Interfaces& interfaces_;
    const RecordHandler handler_;
    std::uint16_t type_ = 0;
    std::vector<AvahiRecordBrowser*> browsers_;
};

class Group final : public EntryGroup {
  public:
    Group(AvahiClient* client, const Interfaces& interfaces, EntryGroupHandler handler)
        : interfaces_(interfaces),
          handler_(std::move(handler)),
          group_(avahi_entry_group_new(client, stateChanged, this)) {}
    ~Group() override {
        if (group_ != nullptr) freeEntryGroup(group_);
    }
    bool isMade() const { return group_ != nullptr; }

    int announce(const ServiceKey& key, std::uint16_t port) override {
        int error = avahi_entry_group_reset(group_);
        if (error < 0) return error;
        if (interfaces_.empty()) {
            error = add(AVAHI_IF_UNSPEC, key, port);
        } else {
            error = AVAHI_ERR_INVALID_INTERFACE;
            for (const std::string& name : interfaces_) {
                const unsigned index = if_nametoindex(name.c_str());
                if (index == 0) continue;
                error = add(static_cast<AvahiIfIndex>(index), key, port);
                if (error < 0) break;
            }
        }
        return error < 0 ? error : avahi_entry_group_commit(group_);
    }

  private:
    static void stateChanged(AvahiEntryGroup*, AvahiEntryGroupState state, void* self) {
        static_cast<Group*>(self)->handler_(state);
    }

    int add(AvahiIfIndex interface, const ServiceKey& key, std::uint16_t port) {
        return avahi_entry_group_add_service(group_, interface, AVAHI_PROTO_UNSPEC, AvahiPublishFlags{},
                                             key.name.c_str(), key.type.c_str(), key.domain.c_str(), nullptr, port,
                                             nullptr);
    }

    const Interfaces& interfaces_;
    const EntryGroupHandler handler_;
    AvahiEntryGroup* const group_;
};

}  // namespace

std::unique_ptr<DaemonBackend> DaemonBackend::create(const AvahiPoll* poll, std::vector<std::string> interfaces,
                                                     std::function<void()> changed) {
    std::unique_ptr<DaemonBackend> backend(new DaemonBackend(poll, std::move(interfaces), std::move(changed)));
    if (!backend->addClient(AVAHI_CLIENT_NO_FAIL)) return nullptr;
    return backend;
}

DaemonBackend::~DaemonBackend() {
    for (AvahiClient* client : clients_) {
        avahi_client_free(client);
    }
}

bool DaemonBackend::addClient(AvahiClientFlags flags) {
    const auto changed = [](AvahiClient* client, AvahiClientState state, void* self) {
        static_cast<DaemonBackend*>(self)->stateChanged(client, state);
    };
    AvahiClient* client = avahi_client_new(poll_, flags, changed, this, nullptr);
    if (client != nullptr) clients_.push_back(client);
    return client != nullptr;
}

void DaemonBackend::stateChanged(AvahiClient* client, AvahiClientState state) {
    // The first client has this said of it before it is in the list.
    if (clients_.empty() || client == clients_.front()) state_ = state;
    if (state == AVAHI_CLIENT_FAILURE) failed_ = true;
    changed_();
}

bool DaemonBackend::isAnswering() const {
    return !failed_ && (state_ == AVAHI_CLIENT_S_REGISTERING || state_ == AVAHI_CLIENT_S_RUNNING ||
                        state_ == AVAHI_CLIENT_S_COLLISION);
}

std::unique_ptr<RecordQuery> DaemonBackend::query(const std::string& name, std::uint16_t type, RecordHandler handler) {
    auto query = std::make_unique<Query>(interfaces_, std::move(handler));
    // The latest client is the likeliest to have room.
    for (auto client = clients_.rbegin(); client != clients_.rend(); ++client) {
        if (query->start(*client, name, type)) return query;
        if (avahi_client_errno(*client) != AVAHI_ERR_TOO_MANY_OBJECTS) return nullptr;
    }
    if (clients_.size() == kMaximumClients || !addClient(AvahiClientFlags{})) return nullptr;
    if (!query->start(clients_.back(), name, type)) return nullptr;
    return query;
}

std::unique_ptr<EntryGroup> DaemonBackend::makeEntryGroup(EntryGroupHandler handler) {
    auto group = std::make_unique<Group>(clients_.front(), interfaces_, std::move(handler));
    if (!group->isMade()) return nullptr;
    return group;
}

}  // namespace velmora
