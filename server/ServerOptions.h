// The command line of the virtual switch server.
#pragma once

#include <QStringList>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "server/FaultPlan.h"

namespace velmora {

struct ServerOptions {
    std::string name;
    int inputs = 0;
    int outputs = 0;
    std::uint16_t port = 0;
    std::string address;                  // empty: none was given
    std::vector<std::string> interfaces;  // to announce on; empty where nothing is announced
    bool interfacesAreChosen = false;     // not the default
    bool announce = true;
    std::string labelsFile;  // empty: none
    std::string stateFile;   // empty: none
    bool verbose = false;
    std::vector<Fault> faults;
};

// Either options, or what to tell the reader and the exit code: 0 for help and version, 2 for a wrong command line.
struct ParsedServerOptions {
    std::optional<ServerOptions> options;
    std::string message;
    int exitCode = 0;
};

// The arguments begin with the program's name. Needs an application object; main thread.
ParsedServerOptions parseServerOptions(const QStringList& arguments);

}  // namespace velmora
