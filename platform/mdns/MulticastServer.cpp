#include "platform/mdns/MulticastServer.h"

#include <avahi-common/alternative.h>
#include <avahi-common/error.h>
#include <avahi-common/malloc.h>
#include <avahi-core/log.h>
#include <avahi-core/lookup.h>
#include <avahi-core/publish.h>
#include <avahi-core/rr.h>

#include <array>
#include <cstdlib>
#include <string>

#include "platform/mdns/Confinement.h"

namespace velmora {

namespace {

// Records that are kept for each interface: a few for every service that the host would list (see DiscoveryEngine.h).
constexpr unsigned kCacheEntries = 16 * 1024;
// The longest data that is of use: a service's location with a name of 255 bytes.
constexpr std::size_t kMaximumData = 512;
// The end takes no longer than this, goodbyes included.
constexpr std::chrono::seconds kGoodbyeTime{2};

}  // namespace

class MulticastServer::Question {
  public:
    Question(MulticastServer& owner, std::uint64_t id, std::uint16_t type) : owner_(owner), id_(id), type_(type) {}
    ~Question() { owner_.renewals_.unwatch(id_); }

    bool start(AvahiServer* server, const std::string& name) {
        if (type_ == AVAHI_DNS_TYPE_PTR) owner_.renewals_.watch(id_, name);
        const AvahiOwner<AvahiKey, avahi_key_unref> key(avahi_key_new(name.c_str(), AVAHI_DNS_CLASS_IN, type_));
        if (key == nullptr) return false;
        browser_.reset(avahi_s_record_browser_new(server, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, key.get(),
                                                  AVAHI_LOOKUP_USE_MULTICAST, heard, this));
        return browser_ != nullptr;
    }

  private:
    static void heard(AvahiSRecordBrowser*, AvahiIfIndex interface, AvahiProtocol protocol, AvahiBrowserEvent event,
                      AvahiRecord* record, AvahiLookupResultFlags, void* self) {
        const auto* question = static_cast<Question*>(self);
        if (event != AVAHI_BROWSER_NEW && event != AVAHI_BROWSER_REMOVE) return;
        if (record == nullptr || record->key->type != question->type_) return;
        std::array<char, kMaximumData> data;
        const std::size_t size = avahi_rdata_serialize(record, data.data(), data.size());
        if (size == 0 || size > data.size()) return;
        question->owner_.tell(question->id_, question->owner_.meaning(event), interface, protocol, {data.data(), size});
    }

    MulticastServer& owner_;
    const std::uint64_t id_;
    const std::uint16_t type_;
    AvahiOwner<AvahiSRecordBrowser, avahi_s_record_browser_free> browser_;
};

class MulticastServer::Group {
  public:
    Group(AvahiServer* server, HostConnection& host, std::uint64_t id)
        : server_(server), host_(host), id_(id), group_(avahi_s_entry_group_new(server, stateChanged, this)) {}

    void announce(std::uint16_t port, const std::string& name, const std::string& type, const std::string& domain) {
        if (group_ == nullptr) return tell(AVAHI_ENTRY_GROUP_FAILURE);
        avahi_s_entry_group_reset(group_.get());
        int error =
            avahi_server_add_service(server_, group_.get(), AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, AvahiPublishFlags{},
                                     name.c_str(), type.c_str(), domain.c_str(), nullptr, port, nullptr);
        if (error >= 0) error = avahi_s_entry_group_commit(group_.get());
        // With another service of the same machine it collides at once.
        if (error < 0) tell(error == AVAHI_ERR_COLLISION ? AVAHI_ENTRY_GROUP_COLLISION : AVAHI_ENTRY_GROUP_FAILURE);
    }

  private:
    static void stateChanged(AvahiServer*, AvahiSEntryGroup*, AvahiEntryGroupState state, void* self) {
        static_cast<Group*>(self)->tell(state);
    }
    void tell(AvahiEntryGroupState state) { host_.send({MdnsFrame::Kind::groupState, id_, {state, 0, 0}, {}}); }

    AvahiServer* const server_;
    HostConnection& host_;
    const std::uint64_t id_;
    const AvahiOwner<AvahiSEntryGroup, avahi_s_entry_group_free> group_;
};

MulticastServer::MulticastServer(AvahiSimplePoll* poll)
    : poll_(poll),
      filter_(avahi_simple_poll_get(poll), [this](const auto& packet) { renewals_.heard(packet); }),
      renewals_([this](std::uint64_t question, int interface, int protocol, const std::string& data) {
          tell(question, RecordEvent::renewed, interface, protocol, data);
      }),
      host_(avahi_simple_poll_get(poll), [this](const MdnsFrame& frame) { heard(frame); }) {
    // Failures are told to the host. The rest of the library's log grows with each packet that somebody sends.
    avahi_set_log_function([](AvahiLogLevel, const char*) {});
}

MulticastServer::~MulticastServer() {
    expectProgressWithin(kGoodbyeTime);
    questions_.clear();
    groups_.clear();
    server_.reset();
    expectProgressWithin(kNoLimit);
}

bool MulticastServer::run() {
    while (!ended_ && !host_.hasEnded()) {
        if (avahi_simple_poll_prepare(poll_, -1) != 0) return false;
        expectProgressWithin(kNoLimit);
        if (avahi_simple_poll_run(poll_) < 0) return false;
        expectProgressWithin(kPatience);
        if (avahi_simple_poll_dispatch(poll_) != 0) return false;
        if (filter_.hasMissedInterfaces()) std::_Exit(EXIT_FAILURE);
        // Each dispatch serves the first socket that has something, and the network can always have something.
        host_.read();
    }
    return true;
}

void MulticastServer::heard(const MdnsFrame& frame) {
    if (ended_ || (server_ == nullptr) != (frame.kind == MdnsFrame::Kind::start)) return;
    switch (frame.kind) {
        case MdnsFrame::Kind::start:
            return start(frame);
        case MdnsFrame::Kind::ask: {
            auto question = std::make_unique<Question>(*this, frame.id, static_cast<std::uint16_t>(frame.numbers[0]));
            Question& asked = *questions_.insert_or_assign(frame.id, std::move(question)).first->second;
            if (frame.texts.size() != 1 || !asked.start(server_.get(), frame.texts[0]))
                giveUp(avahi_server_errno(server_.get()));
            return;
        }
        case MdnsFrame::Kind::endAsk:
            questions_.erase(frame.id);
            return;
        case MdnsFrame::Kind::announce: {
            auto& group = groups_[frame.id];
            if (group == nullptr) group = std::make_unique<Group>(server_.get(), host_, frame.id);
            if (frame.texts.size() != 3) return giveUp(AVAHI_ERR_INVALID_ARGUMENT);
            return group->announce(static_cast<std::uint16_t>(frame.numbers[0]), frame.texts[0], frame.texts[1],
                                   frame.texts[2]);
        }
        case MdnsFrame::Kind::withdraw:
            groups_.erase(frame.id);
            return;
        case MdnsFrame::Kind::ping:
            return host_.send({.kind = MdnsFrame::Kind::pong, .texts = {}});
        default:
            return;
    }
}

void MulticastServer::start(const MdnsFrame& frame) {
    if (frame.numbers[0] != kMdnsFrameVersion) return giveUp(AVAHI_ERR_VERSION_MISMATCH);
    const bool publishing = frame.numbers[1] != 0;
    AvahiServerConfig config;
    avahi_server_config_init(&config);
    for (const std::string& name : frame.texts) {
        config.allow_interfaces = avahi_string_list_add(config.allow_interfaces, name.c_str());
    }
    config.disable_publishing = publishing ? 0 : 1;
    config.publish_addresses = publishing ? 1 : 0;
    config.publish_hinfo = 0;
    config.publish_workstation = 0;
    config.publish_domain = 0;
    config.enable_wide_area = 0;
    config.n_cache_entries_max = kCacheEntries;

    int error = 0;
    const auto changed = [](AvahiServer* server, AvahiServerState state, void* self) {
        static_cast<MulticastServer*>(self)->stateChanged(server, state);
    };
    server_.reset(avahi_server_new(filter_.poll(), &config, changed, this, &error));
    avahi_server_config_free(&config);
    if (server_ == nullptr) giveUp(error);
}

void MulticastServer::stateChanged(AvahiServer* server, AvahiServerState state) {
    if (state == AVAHI_SERVER_FAILURE) return giveUp(avahi_server_errno(server));
    if (state == AVAHI_SERVER_COLLISION) {
        // Another machine has our host name; the state comes back to running under the next one.
        const AvahiOwner<char, avahi_free> name(avahi_alternative_host_name(avahi_server_get_host_name(server)));
        if (name == nullptr || avahi_server_set_host_name(server, name.get()) < 0) {
            return giveUp(avahi_server_errno(server));
        }
    }
    host_.send({MdnsFrame::Kind::serverState, 0, {state, AVAHI_OK, 0}, {}});
}

// An interface that goes takes its records with it, and Avahi says so at once.
RecordEvent MulticastServer::meaning(AvahiBrowserEvent event) const {
    if (event == AVAHI_BROWSER_NEW) return RecordEvent::came;
    return filter_.isReadingOfInterfaces() ? RecordEvent::lost : RecordEvent::went;
}

void MulticastServer::tell(std::uint64_t question, RecordEvent event, int interface, int protocol,
                           const std::string& data) {
    if (event != RecordEvent::renewed)
        renewals_.wasTold(question, interface, protocol, data, event == RecordEvent::came);
    host_.send({MdnsFrame::Kind::record, question, {static_cast<std::int32_t>(event), interface, protocol}, {data}});
}

void MulticastServer::giveUp(int error) {
    ended_ = true;
    host_.send({MdnsFrame::Kind::serverState, 0, {AVAHI_SERVER_FAILURE, error, 0}, {}});
}

}  // namespace velmora
