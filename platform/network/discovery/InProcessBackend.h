// Multicast DNS spoken by this process itself, for machines where no Avahi daemon answers.
#pragma once

#include <avahi-common/watch.h>
#include <avahi-core/core.h>

#include <string>
#include <vector>

#include "platform/network/discovery/DiscoveryBackend.h"
#include "platform/network/discovery/PacketScreen.h"

namespace velmora {

class InProcessBackend final : public DiscoveryBackend {
  public:
    // On the interfaces of these names, or on all when there are none. Without `publishing` the network learns nothing
    // of this machine; with it, its host name and addresses are announced, which services of its own need. `changed` is
    // called when hasFailed or isReadyToPublish may answer something else. Null, with the reason in `error`, when the
    // library cannot start.
    static std::unique_ptr<InProcessBackend> create(const AvahiPoll* poll, const std::vector<std::string>& interfaces,
                                                    bool publishing, std::function<void()> changed, std::string& error);
    ~InProcessBackend() override;

    bool hasFailed() const { return state_ == AVAHI_SERVER_FAILURE; }
    bool publishes() const { return publishing_; }

    std::unique_ptr<RecordQuery> query(const std::string& name, std::uint16_t type, RecordHandler handler) override;
    std::unique_ptr<EntryGroup> makeEntryGroup(EntryGroupHandler handler) override;
    bool isReadyToPublish() const override { return publishing_ && state_ == AVAHI_SERVER_RUNNING; }
    std::string lastError() const override;

  private:
    InProcessBackend(const AvahiPoll* poll, bool publishing, std::function<void()> changed)
        : screen_(poll), publishing_(publishing), changed_(std::move(changed)) {}
    void stateChanged(AvahiServer* server, AvahiServerState state);

    PacketScreen screen_;
    const bool publishing_;
    const std::function<void()> changed_;
    AvahiServer* server_ = nullptr;
    AvahiServerState state_ = AVAHI_SERVER_INVALID;
};

}  // namespace velmora
