// The program velmora-switch-server: its parts put together, from the command line to the exit code.
#pragma once

namespace velmora {

enum class ServerExitCode : int {
    done = 0,
    failed = 1,      // the network or the disk did not let it work
    wrongUsage = 2,  // wrong command line or unusable file
};

// Runs the program on the main thread, under an application object, until a signal ends it.
ServerExitCode runSwitchServer(int argc, const char* const* argv);

// Allows this process as many descriptors, and so clients, as the system lets it have.
void raiseDescriptorLimit();

}  // namespace velmora
