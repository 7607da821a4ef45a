// Avahi's core at the service of the host.
#pragma once

#include <avahi-common/simple-watch.h>
#include <avahi-core/core.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <unordered_map>

#include "platform/mdns/HostConnection.h"
#include "platform/mdns/PacketFilter.h"
#include "platform/mdns/Renewals.h"
#include "platform/network/dnssd/AvahiOwner.h"
#include "platform/network/dnssd/RecordEvent.h"

namespace velmora {

// A turn of the loop that takes longer than this is taken for one that never ends, and ends the program.
inline constexpr std::chrono::seconds kPatience{10};

// One thread.
class MulticastServer {
  public:
    explicit MulticastServer(AvahiSimplePoll* poll);
    // Says goodbye for what has been announced.
    ~MulticastServer();

    // Serves until the host has gone, or Avahi gives up. False when the loop fails. Ends the program, without a
    // goodbye, when news of interfaces were lost: the host starts another one, which sees what there is, and on the
    // network nothing has gone meanwhile.
    bool run();

  private:
    class Question;
    class Group;

    void heard(const MdnsFrame& frame);
    void start(const MdnsFrame& frame);
    void stateChanged(AvahiServer* server, AvahiServerState state);
    RecordEvent meaning(AvahiBrowserEvent event) const;
    void tell(std::uint64_t question, RecordEvent event, int interface, int protocol, const std::string& data);
    void giveUp(int error);

    AvahiSimplePoll* const poll_;
    PacketFilter filter_;
    Renewals renewals_;
    HostConnection host_;
    bool ended_ = false;
    AvahiOwner<AvahiServer, avahi_server_free> server_;
    std::unordered_map<std::uint64_t, std::unique_ptr<Question>> questions_;
    std::unordered_map<std::uint64_t, std::unique_ptr<Group>> groups_;
};

}  // namespace velmora
