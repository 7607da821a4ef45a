// The command line of the virtual switch server.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/foundation/Result.h"
#include "server/FaultPlan.h"

namespace velmora {

struct ServerOptions {
    // For --help and --version: the text to print instead of running. Empty: run.
    std::string information;

    std::string name;
    int inputs = 0;
    int outputs = 0;
    std::uint16_t port = 0;
    std::string address;                  // empty: none was given
    std::vector<std::string> interfaces;  // to announce on; empty where nothing is announced
    bool interfacesAreChosen = false;     // false: the default
    bool announce = true;
    std::string labelsFile;     // empty: none
    std::string stateFile;      // empty: none
    std::string controlSocket;  // empty: none
    bool verbose = false;
    std::vector<Fault> faults;
};

// The options, or what is wrong with them. The arguments begin with the program's name. Needs an application object;
// main thread.
Result<ServerOptions> parseServerOptions(int argc, const char* const* argv);

}  // namespace velmora
