// Multicast DNS by a program of our own, velmora-mdns, for machines where no Avahi daemon answers.
#pragma once

#include <avahi-common/defs.h>
#include <avahi-common/watch.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/network/dnssd/ChildProgram.h"
#include "platform/network/dnssd/DiscoveryBackend.h"
#include "platform/network/dnssd/DiscoveryLoop.h"
#include "platform/network/dnssd/MdnsFrame.h"

namespace velmora {

// The program reads what the network sends, so that a packet that breaks it breaks nothing else. For the same reason
// nothing that it says is believed unseen: what it cannot rightly say ends it. Nothing here waits for it, except at its
// end, for ChildProgram::kEndTime at most.
class ProgramBackend final : public DiscoveryBackend {
  public:
    // On the interfaces of these names, or on all when there are none. Without `publishing` the network learns nothing
    // of this machine; with it, its host name and addresses are announced, which services of its own need. `changed` is
    // called when one of the next four or isReadyToPublish may answer something else.
    // Fails when the program cannot be started.
    static Result<std::unique_ptr<ProgramBackend>> create(DiscoveryLoop& loop,
                                                          const std::vector<std::string>& interfaces, bool publishing,
                                                          std::function<void()> changed);
    ProgramBackend(DiscoveryLoop& loop, ChildProgram program, const std::vector<std::string>& interfaces,
                   bool publishing, std::function<void()> changed);
    ~ProgramBackend() override;

    // Whether it has come so far as to serve.
    bool hasStarted() const { return state_ != AVAHI_SERVER_INVALID; }
    // Whether it has said itself that it cannot serve.
    bool hasDeclined() const { return declined_; }
    // The program has ended, said that it cannot go on, or something unusable, or does not answer: this object is of no
    // more use.
    bool hasFailed() const { return failed_; }
    bool publishes() const { return publishing_; }

    // Each is refused while the program is far behind with what it was told before.
    std::unique_ptr<RecordQuery> query(const std::string& name, std::uint16_t type, RecordHandler handler) override;
    std::unique_ptr<EntryGroup> makeEntryGroup(EntryGroupHandler handler) override;
    bool isReadyToPublish() const override { return publishing_ && state_ == AVAHI_SERVER_RUNNING; }
    std::string lastError() const override { return error_; }

  private:
    class Query;
    class Group;

    void eventHappened(AvahiWatchEvent event);
    void readFrames();
    // False for what the program cannot rightly say.
    bool heard(const MdnsFrame& frame);
    bool heardServerState(const MdnsFrame& frame);
    bool heardRecord(const MdnsFrame& frame);
    bool heardGroupState(const MdnsFrame& frame);
    void send(const MdnsFrame& frame);
    void sendWaiting();
    void beat();
    void fail(std::string reason);

    DiscoveryLoop& loop_;
    const bool publishing_;
    const std::function<void()> changed_;
    const ChildProgram program_;
    AvahiWatch* watch_ = nullptr;
    std::deque<std::string> waiting_;  // until the socket takes more
    std::size_t waitingBytes_ = 0;
    std::uint64_t lastId_ = 0;  // of a question or a group
    std::unordered_map<std::uint64_t, const Query*> asked_;
    std::unordered_map<std::uint64_t, const Group*> groups_;
    int unansweredPings_ = 0;
    DiscoveryLoop::Timer nextBeat_;
    AvahiServerState state_ = AVAHI_SERVER_INVALID;
    bool declined_ = false;
    bool failed_ = false;
    std::string error_;
};

}  // namespace velmora
