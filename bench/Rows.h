// The parts of the benchmark. Each measures, and adds its rows to the report; it throws Wrong when something does not
// work. All run on the main thread, one after the other.
#pragma once

#include <string>

#include "bench/Report.h"

namespace velmora::bench {

struct Suite {
    Report report = {};
    // Only checks within a minute or two that everything works; its figures mean little.
    bool quick = false;
    // The folder with the clients in other languages.
    std::string peers = {};

    int rounds() const { return quick ? 3 : 25; }
};

// One command and one attribute set, compared with simpler clients; allocations and wake-ups per exchange; an idle
// connection.
void measureExchanges(Suite& suite);
// With strace, if it is installed.
void measureSystemCalls(Suite& suite);
// measureSystemCalls runs this under strace: this many exchanges with the server of that name, between two marks.
void makeMarkedExchanges(const std::string& server, int count);
// Rebuilding the attributes, their memory, and looking them up.
void measureAttributes(Suite& suite);
// From the announcement of a server to attributes.
void measureDiscovery(Suite& suite);
// Loading the bundle; making, starting and stopping the plugin.
void measureLife(Suite& suite);
// The virtual server under many clients.
void measureThroughput(Suite& suite);

}  // namespace velmora::bench
