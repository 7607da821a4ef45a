// velmora-bench: compares the whole system with what a user would have instead. It is not a timed test: it fails only
// when something does not work.
#include <QCommandLineParser>
#include <QCoreApplication>
#include <csignal>
#include <cstdio>

#include "bench/Machine.h"
#include "bench/Placement.h"
#include "bench/Rows.h"
#include "bench/Wrong.h"
#include "platform/network/NSNetServiceBrowser.h"

namespace {

using namespace velmora::bench;

struct Part {
    const char* name;
    void (*measure)(Suite& suite);
};

constexpr Part kParts[] = {
    {"exchanges", measureExchanges},
    {"system-calls", measureSystemCalls},
    {"attributes", measureAttributes},
    {"discovery", measureDiscovery},
    {"life", measureLife},
    {"throughput", measureThroughput},
};

void measure(const QCommandLineParser& options) {
    Suite suite;
    suite.quick = options.isSet("quick");
    suite.peers = options.value("peers").toStdString();
    const QStringList wanted = options.values("part");
    for (const Part& part : kParts) {
        if (!wanted.isEmpty() && !wanted.contains(part.name)) continue;
        Placement::least().apply({});  // whatever the previous part has left
        std::fprintf(stderr, "%s\n", part.name);
        part.measure(suite);
    }
    suite.report.print();
    QJsonObject machine = describeMachine();
    machine["quick"] = suite.quick;
    if (options.isSet("json")) suite.report.write(options.value("json").toStdString(), machine);
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    std::signal(SIGPIPE, SIG_IGN);  // the silence of a program that has ended is noticed anyway
    velmora::limitNetServicesToInterfaces({"lo"});
    QCommandLineParser options;
    options.setApplicationDescription("Measures the plugin and the virtual switch server. See scripts/bench.");
    options.addOptions({{"quick", "See that everything works; the figures mean little."},
                        {"part", "Measure this part only; may be given several times.", "name"},
                        {"peers", "The folder of the clients in other languages.", "folder"},
                        {"json", "Write the results to this file as well.", "file"},
                        {"exchange-with", "Only make exchanges with this server, for a trace.", "server"},
                        {"count", "How many.", "number"}});
    options.addHelpOption();
    options.process(application);
    try {
        if (options.isSet("exchange-with")) {
            makeMarkedExchanges(options.value("exchange-with").toStdString(), options.value("count").toInt());
        } else {
            measure(options);
        }
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "velmora-bench: %s\n", failure.what());
        return 1;
    }
    return 0;
}
