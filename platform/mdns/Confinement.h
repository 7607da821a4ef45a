// What a process gives up that reads what anybody on the network sends.
#pragma once

namespace velmora {

// From here on this process and what it executes gain no privileges, start no process, have few descriptors, bounded
// memory and processor time for one turn of work, leave no core dump, and hold no folder. What the system refuses is
// left as it is: each is a second line of defence.
void confineThisProcess();

// Ends this process unless it is called again within so many seconds; 0 for no limit.
void expectProgressWithin(unsigned seconds);

}  // namespace velmora
