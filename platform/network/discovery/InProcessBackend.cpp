#include "platform/network/discovery/InProcessBackend.h"

#include <avahi-common/alternative.h>
#include <avahi-common/error.h>
#include <avahi-common/malloc.h>
#include <avahi-core/log.h>
#include <avahi-core/lookup.h>
#include <avahi-core/publish.h>
#include <dlfcn.h>

namespace velmora {

namespace {

// Records that are kept for each interface: a few for every service that we would list (see DiscoveryEngine.h).
constexpr unsigned kCacheEntries = 16 * 1024;

// The client library exports a function under the name of one that this library uses internally for whatever it
// publishes. Ours comes first because it is linked first, unless the program has brought in the other before.
bool libraryReachesItsOwnFunctions() {
    const char* const name = "avahi_entry_group_free";
    return dlsym(RTLD_DEFAULT, name) == dlsym(dlopen("libavahi-core.so.7", RTLD_NOW), name);
}

class Query final : public RecordQuery {
  public:
    explicit Query(RecordHandler handler) : handler_(std::move(handler)) {}
    ~Query() override {
        if (browser_ != nullptr) avahi_s_record_browser_free(browser_);
    }

    bool start(AvahiServer* server, const std::string& name, std::uint16_t type) {
        type_ = type;
        AvahiKey* key = avahi_key_new(name.c_str(), AVAHI_DNS_CLASS_IN, type);
        if (key == nullptr) return false;
        browser_ = avahi_s_record_browser_new(server, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, key,
                                              AVAHI_LOOKUP_USE_MULTICAST, heard, this);
        avahi_key_unref(key);
        return browser_ != nullptr;
    }

  private:
    static void heard(AvahiSRecordBrowser*, AvahiIfIndex interface, AvahiProtocol protocol, AvahiBrowserEvent event,
                      AvahiRecord* record, AvahiLookupResultFlags, void* self) {
        const auto* query = static_cast<Query*>(self);
        if (event != AVAHI_BROWSER_NEW && event != AVAHI_BROWSER_REMOVE) return;
        if (record == nullptr || record->key->type != query->type_) return;
        if (const auto seen = networkRecord(interface, protocol, *record))
            query->handler_(*seen, event == AVAHI_BROWSER_NEW);
    }

    const RecordHandler handler_;
    std::uint16_t type_ = 0;
    AvahiSRecordBrowser* browser_ = nullptr;
};

class Group final : public EntryGroup {
  public:
    Group(AvahiServer* server, EntryGroupHandler handler)
        : server_(server), handler_(std::move(handler)), group_(avahi_s_entry_group_new(server, stateChanged, this)) {}
    ~Group() override {
        if (group_ != nullptr) avahi_s_entry_group_free(group_);
    }
    bool isMade() const { return group_ != nullptr; }

    int announce(const ServiceKey& key, std::uint16_t port) override {
        avahi_s_entry_group_reset(group_);
        const int error =
            avahi_server_add_service(server_, group_, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, AvahiPublishFlags{},
                                     key.name.c_str(), key.type.c_str(), key.domain.c_str(), nullptr, port, nullptr);
        return error < 0 ? error : avahi_s_entry_group_commit(group_);
    }

  private:
    static void stateChanged(AvahiServer*, AvahiSEntryGroup*, AvahiEntryGroupState state, void* self) {
        static_cast<Group*>(self)->handler_(state);
    }

    AvahiServer* const server_;
    const EntryGroupHandler handler_;
    AvahiSEntryGroup* const group_;
};

}  // namespace

std::unique_ptr<InProcessBackend> InProcessBackend::create(const AvahiPoll* poll,
                                                           const std::vector<std::string>& interfaces, bool publishing,
                                                           std::function<void()> changed, std::string& error) {
    if (publishing && !libraryReachesItsOwnFunctions()) {
        error = "this program's libraries do not allow it to publish without the Avahi daemon";
        return nullptr;
    }
    // What fails is returned to us; the rest that the library writes is what the network makes it write, packet by
    // packet.
    avahi_set_log_function([](AvahiLogLevel, const char*) {});

    AvahiServerConfig config;
    avahi_server_config_init(&config);
    for (const std::string& name : interfaces) {
        config.allow_interfaces = avahi_string_list_add(config.allow_interfaces, name.c_str());
    }
    config.disable_publishing = publishing ? 0 : 1;
    config.publish_addresses = publishing ? 1 : 0;
    config.publish_hinfo = 0;
    config.publish_workstation = 0;
    config.publish_domain = 0;
    config.enable_wide_area = 0;
    config.n_cache_entries_max = kCacheEntries;

    std::unique_ptr<InProcessBackend> backend(new InProcessBackend(poll, publishing, std::move(changed)));
    int code = 0;
    backend->server_ = avahi_server_new(
        backend->screen_.poll(), &config,
        [](AvahiServer* server, AvahiServerState state, void* self) {
            static_cast<InProcessBackend*>(self)->stateChanged(server, state);
        },
        backend.get(), &code);
    avahi_server_config_free(&config);
    if (backend->server_ != nullptr) return backend;
    error = avahi_strerror(code);
    return nullptr;
}

InProcessBackend::~InProcessBackend() {
    if (server_ != nullptr) avahi_server_free(server_);
}

void InProcessBackend::stateChanged(AvahiServer* server, AvahiServerState state) {
    state_ = state;
    if (state == AVAHI_SERVER_COLLISION) {
        // Another machine has our host name; the state comes back to running under the next one.
        char* name = avahi_alternative_host_name(avahi_server_get_host_name(server));
        if (name == nullptr || avahi_server_set_host_name(server, name) < 0) state_ = AVAHI_SERVER_FAILURE;
        avahi_free(name);
    }
    changed_();
}

std::unique_ptr<RecordQuery> InProcessBackend::query(const std::string& name, std::uint16_t type,
                                                     RecordHandler handler) {
    auto query = std::make_unique<Query>(std::move(handler));
    if (!query->start(server_, name, type)) return nullptr;
    return query;
}

std::unique_ptr<EntryGroup> InProcessBackend::makeEntryGroup(EntryGroupHandler handler) {
    auto group = std::make_unique<Group>(server_, std::move(handler));
    if (!group->isMade()) return nullptr;
    return group;
}

std::string InProcessBackend::lastError() const {
    return avahi_strerror(avahi_server_errno(server_));
}

}  // namespace velmora
