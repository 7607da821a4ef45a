// Multicast DNS through the Avahi daemon of the machine.
#pragma once

#include <avahi-client/client.h>

#include <set>
#include <string>
#include <vector>

#include "platform/network/dnssd/AvahiOwner.h"
#include "platform/network/dnssd/DiscoveryBackend.h"
#include "platform/threads/Moment.h"

namespace velmora {

// Waits for the daemon, and serves once it answers.
class DaemonBackend final : public DiscoveryBackend {
  public:
    // Looks and announces on the interfaces of these names only, or on all when there are none. `changed` is called
    // when isAnswering, hasFailed or isReadyToPublish may answer something else. Null when there is no system bus to
    // reach the daemon by.
    static std::unique_ptr<DaemonBackend> create(const AvahiPoll* poll, std::vector<std::string> interfaces,
                                                 std::function<void()> changed);
    ~DaemonBackend() override;

    bool isAnswering() const;
    // The daemon or the bus has gone: this object is of no more use.
    bool hasFailed() const { return failed_; }

    // Questions and announcements are bound to the indexes of the interfaces, and one that is made anew gets another
    // index. These are the indexes of those that there were when they were looked up last, at first when this was made;
    // without a limit AVAHI_IF_UNSPEC alone. Looking them up changes nothing for what has been asked and announced.
    const std::set<AvahiIfIndex>& interfaces() const { return indexes_; }
    void lookUpInterfaces();

    // Each is refused for a second after the daemon had no room for one, or did not reply.
    std::unique_ptr<RecordQuery> query(const std::string& name, std::uint16_t type, RecordHandler handler) override;
    std::unique_ptr<EntryGroup> makeEntryGroup(EntryGroupHandler handler) override;
    bool isReadyToPublish() const override { return state_ == AVAHI_CLIENT_S_RUNNING; }
    std::string lastError() const override;

  private:
    DaemonBackend(const AvahiPoll* poll, std::vector<std::string> interfaces, std::function<void()> changed)
        : poll_(poll), interfaces_(std::move(interfaces)), changed_(std::move(changed)) {
        lookUpInterfaces();
    }
    bool addClient(AvahiClientFlags flags);
    void stateChanged(AvahiClient* client, AvahiClientState state);

    const AvahiPoll* const poll_;
    const std::vector<std::string> interfaces_;
    std::set<AvahiIfIndex> indexes_;
    const std::function<void()> changed_;
    // The first one waits for the daemon and publishes; the daemon answers a limited number of questions to each.
    std::vector<AvahiOwner<AvahiClient, avahi_client_free>> clients_;
    AvahiClientState state_ = AVAHI_CLIENT_CONNECTING;
    bool failed_ = false;
    int error_ = 0;
    Date pauseEnd_;
};

}  // namespace velmora
