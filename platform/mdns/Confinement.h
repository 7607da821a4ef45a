// A process that reads packets from anybody on the network gives up what it does not need.
#pragma once

#include <chrono>

namespace velmora {

// From here on this process and what it executes gain no privileges, start no process, have few descriptors, bounded
// memory and processor time for one turn of work, leave no core dump, and hold no folder. What the system refuses is
// left as it is: each is a second line of defence.
void confineThisProcess();

inline constexpr std::chrono::seconds kNoLimit{0};
// Ends this process unless it is called again within this time.
void expectProgressWithin(std::chrono::seconds time);

}  // namespace velmora
