// The one thread of the process on which discovery takes place; it runs while there is something to discover or to
// announce.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/network/dnssd/DiscoveryEngine.h"

namespace velmora {

// Any thread may call everything here; nothing waits for the network.
class DiscoveryThread {
  public:
    using Task = std::function<void(DiscoveryEngine& engine)>;

    // Runs the task on the discovery thread, which is started when it does not run. Tasks are run in the order in which
    // they were handed over. One that cannot be run, because the application or the process ends, is destroyed.
    static void perform(Task task);
    // For tasks that only undo what others did: without a thread there is nothing to undo, and the task is destroyed.
    static void performIfRunning(Task task);

    // For the present thread and those to come; empty: no limit.
    static void limitToInterfaces(std::vector<std::string> interfaces);

    // A number that no other caller gets, for the owner of requests and publications.
    static std::uint64_t nextOwner();
};

}  // namespace velmora
