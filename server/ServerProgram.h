// The program velmora-switch-server: its parts put together, from the command line to the exit code.
#pragma once

#include <QStringList>

namespace velmora {

// Runs the program on the main thread, under an application object, until a signal ends it. The exit code: 0 ended in
// order, 1 the network or the disk did not let it work, 2 wrong command line or unusable file.
int runSwitchServer(const QStringList& arguments);

// Lets this process have as many clients as the system allows it descriptors.
void raiseDescriptorLimit();

}  // namespace velmora
