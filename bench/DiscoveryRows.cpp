#include <cstdlib>

#include "bench/AnnouncementWatch.h"
#include "bench/Contender.h"
#include "bench/EventLoop.h"
#include "bench/Placement.h"
#include "bench/PluginSession.h"
#include "bench/Rows.h"
#include "bench/SwitchServerProcess.h"

namespace velmora::bench {

namespace {

constexpr int kOutputs = 1;
// Both sides browse before the server appears, so that their first questions are over by then.
constexpr std::chrono::milliseconds kSettle{1500};

double millisecondsBetween(Clock::time_point start, Clock::time_point end) {
    return std::chrono::duration<double, std::milli>(end - start).count();
}

class Discovery {
  public:
    // In milliseconds since the announcement.
    double untilHostIsTold() {
        const std::string name = newServerName();
        PluginSession session(name, kOutputs);
        serveFor(kSettle);
        const AnnouncementWatch watch(name);
        const SwitchServerProcess server(name, 16, 16, SwitchServerProcess::Return::whenListening);
        session.waitForAttributes();
        const auto start = Clock::now();
        session.plugin().updateAttributes();
        rebuilds_.push_back(microsecondsSince(start) / 1000);
        return millisecondsBetween(watch.announcedAt(), *session.toldAt());
    }

    double untilLibraryHasResolved() {
        const std::string name = newServerName();
        Process resolver({programBeside("velmora-bench-resolve"), name});
        resolver.readLine();
        serveFor(kSettle);
        const AnnouncementWatch watch(name);
        const SwitchServerProcess server(name, 16, 16, SwitchServerProcess::Return::whenListening);
        const long long moment = std::strtoll(resolver.readLine().c_str(), nullptr, 10);
        return millisecondsBetween(watch.announcedAt(), Clock::time_point(std::chrono::nanoseconds(moment)));
    }

    double rebuild() const { return median(rebuilds_); }

  private:
    std::vector<double> rebuilds_;
};

}  // namespace

void measureDiscovery(Suite& suite) {
    Discovery discovery;
    std::vector<Contender> all = {
        {"plugin", [&discovery] { return discovery.untilHostIsTold(); }},
        {"library", [&discovery] { return discovery.untilLibraryHasResolved(); }},
    };
    takeTurns(all, suite.quick ? 2 : 21);
    const double plugin = all[0].medianFigure();
    const double library = all[1].medianFigure();
    Row row{.group = "discovery", .name = "service announced to host told of attributes"};
    row.figure = plugin;
    row.unit = "ms";
    row.against = "resolution by Avahi alone";
    row.againstFigure = library;
    row.ratio = (plugin - discovery.rebuild()) / library;
    row.rounds = all[0].figures;
    row.againstRounds = all[1].figures;
    row.target = "at most 1.10";
    row.met = *row.ratio <= 1.1;
    char note[120];
    std::snprintf(note, sizeof note, "the ratio is without the exchanges of one rebuild, %.2f ms", discovery.rebuild());
    row.note = note;
    suite.report.add(std::move(row));
}

}  // namespace velmora::bench
