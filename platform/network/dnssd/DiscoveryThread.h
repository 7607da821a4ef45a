// The thread on which discovery takes place, one for the process. It runs while there is something to discover or to
// announce.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "platform/network/dnssd/DiscoveryEngine.h"

namespace velmora {

// Any thread may call everything here; nothing waits for the network.
class DiscoveryThread {
  public:
    using Task = std::function<void(DiscoveryEngine& engine)>;

    // Runs the task on the discovery thread, which is started if need be. Tasks run in the order in which they were
    // handed over. A task that cannot run, because the application or the process is ending, is destroyed. False when
    // the thread cannot be started, for kShortage: the task is destroyed, and whoever still needs it after
    // kStartPause hands it over again.
    static bool perform(Task task);
    static constexpr std::chrono::seconds kStartPause{5};
    static constexpr const char* kShortage = "the process has no descriptors or threads left";
    // For a task that only undoes what others did. Without a thread there is nothing to undo, and it is destroyed.
    static void performIfRunning(Task task);

    // For the present thread and later ones. An empty list means no limit.
    static void limitToInterfaces(std::vector<std::string> interfaces);

    // A number that no other caller gets, for the owner of requests and publications.
    static std::uint64_t nextOwner();
};

}  // namespace velmora
