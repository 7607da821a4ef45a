#include <unistd.h>

#include <algorithm>
#include <chrono>

#include "bench/BareClient.h"
#include "bench/Contender.h"
#include "bench/EventLoop.h"
#include "bench/HeapCount.h"
#include "bench/PeerClient.h"
#include "bench/Placement.h"
#include "bench/PluginSession.h"
#include "bench/Rows.h"
#include "bench/SwitchServerProcess.h"
#include "bench/ThreadedClient.h"
#include "bench/Threads.h"
#include "bench/Wrong.h"

namespace velmora::bench {

namespace {

constexpr const char* kAttribute = "Velmora Switch Output 1";
constexpr const char* kValue = "0002 Input 2";
constexpr const char* kExchange = "one exchange through the switcher";
constexpr const char* kThreaded = "bare socket on a thread of its own";

// All clients of the one server.
class Exchanges {
  public:
    explicit Exchanges(Suite& suite)
        : suite_(suite),
          server_(newServerName(), 16, 16),
          session_(server_.name(), 1),
          bare_(server_.port()),
          threaded_(server_.port()),
          python_({"python3", suite.peers + "/asyncio_client.py"}, server_.port(), "INPUTLABEL 1", "Input 1"),
          node_({"node", suite.peers + "/net_client.mjs"}, server_.port(), "INPUTLABEL 1", "Input 1") {
        session_.waitForAttributes();
    }

    void compare(const Placement& placement) {
        placement.apply({server_.id()}, {python_.id(), node_.id()});
        std::vector<Contender> all = {
            {"bare socket, C++", [this] { return timed([this] { exchangeBare(); }); }},
            {"switcher", [this] { return timed([this] { exchangeThroughSwitcher(); }); }},
            {"asyncio, " + python_.language(), [this] { return python_.run(eachRound()) / eachRound(); }},
            {"net, " + node_.language(), [this] { return node_.run(eachRound()) / eachRound(); }},
            {"bare socket, SET", [this] { return timed([this] { setBare(); }); }},
            {"attribute", [this] { return timed([this] { setAttribute(); }); }},
            {kThreaded, [this] { return timed([this] { exchangeThreaded(); }); }},
        };
        takeTurns(all, suite_.rounds());
        addRow(placement, kExchange, all[1], all[0], 1.15, "at most 1.15");
        addRow(placement, kExchange, all[1], all[2], 1.0, "at most 1.00");
        addRow(placement, kExchange, all[1], all[3], 1.0, "at most 1.00");
        addRow(placement, "an attribute set", all[5], all[4], 1.2, "at most 1.20");
        addRow(placement, kExchange, all[1], all[6]);
        addRow(placement, kThreaded, all[6], all[0]);
        addRow(placement, kThreaded, all[6], all[3]);
        if (bare_.exchange("GET 1\n\r") != "1 2") throw Wrong("the route was not set");
    }

    void count() {
        Placement::judged().apply({server_.id()});
        exchangeThroughSwitcher();
        const int exchanges = eachRound();
        const auto threadsBefore = threadCounts();
        const HeapCount heap;
        for (int i = 0; i < exchanges; ++i) {
            exchangeThroughSwitcher();
        }
        const auto allocations = heap.allocations();
        const auto threads = difference(threadsBefore, threadCounts());
        const auto each = [exchanges](std::int64_t count) { return static_cast<double>(count) / exchanges; };
        communicationsThread_ = busiestThread(threads);
        addCount("allocations in one exchange", each(allocations));
        addCount("wake-ups in one exchange, main thread", each(threads.at(getpid()).wakeUps));
        addCount("wake-ups in one exchange, communications thread", each(threads.at(communicationsThread_).wakeUps));
    }

    void idle() {
        const std::chrono::seconds duration(suite_.quick ? 6 : 60);
        const double tick = 1000.0 / static_cast<double>(sysconf(_SC_CLK_TCK));
        const auto before = threadCounts();
        serveFor(duration);
        const auto counts = difference(before, threadCounts()).at(communicationsThread_);
        const std::string name = "idle connection for " + std::to_string(duration.count()) + " s, ";
        Row wakeUps{.group = "idle", .name = name + "wake-ups"};
        wakeUps.figure = static_cast<double>(counts.wakeUps);
        Row time{.group = "idle", .name = name + "processor time", .figure = counts.processorTime, .unit = "ms"};
        wakeUps.target = "at most 31";
        time.target = "not measurable";
        time.note = "measurable begins at one tick of the processor-time clock, " +
                    std::to_string(static_cast<int>(tick)) + " ms";
        // The target is for a full minute, so a shorter wait cannot be judged.
        if (!suite_.quick) wakeUps.met = counts.wakeUps <= 31;
        if (!suite_.quick) time.met = counts.processorTime < tick;
        suite_.report.add(std::move(wakeUps));
        suite_.report.add(std::move(time));
    }

  private:
    int eachRound() const { return suite_.quick ? 200 : 1000; }

    double timed(const std::function<void()>& exchange) const {
        const auto start = Clock::now();
        for (int i = 0; i < eachRound(); ++i) {
            exchange();
        }
        return microsecondsSince(start) / eachRound();
    }

    void exchangeBare() {
        if (bare_.exchange("INPUTLABEL 1\n\r") != "Input 1") throw Wrong("the bare socket got a wrong reply");
    }
    void exchangeThreaded() {
        if (threaded_.exchange("INPUTLABEL 1\n\r") != "Input 1") throw Wrong("the threaded socket got a wrong reply");
    }
    void exchangeThroughSwitcher() {
        if (session_.switcher().inputLabelAtIndex(0) != "Input 1") throw Wrong("the switcher got a wrong reply");
    }
    void setBare() { bare_.exchange("SET 1 2\n\r"); }
    void setAttribute() {
        if (session_.plugin().setValueForAttributeWithName(kValue, kAttribute) != 0)
            throw Wrong("the attribute was not set");
    }

    void addRow(const Placement& placement, const std::string& name, const Contender& ours, const Contender& theirs,
                double limit = 0.0, const std::string& target = {}) {
        const double ratio = ours.medianFigure() / theirs.medianFigure();
        Row row{.group = "exchange", .name = name, .placement = placement.name()};
        row.figure = ours.medianFigure();
        row.unit = "us";
        row.against = theirs.name;
        row.againstFigure = theirs.medianFigure();
        row.ratio = ratio;
        row.rounds = ours.figures;
        row.againstRounds = theirs.figures;
        if (placement.isJudged() && !target.empty()) {
            row.target = target;
            row.met = ratio <= limit;
        }
        suite_.report.add(std::move(row));
    }

    void addCount(const std::string& name, double figure) {
        suite_.report.add({.group = "counts", .name = name, .figure = figure});
    }

    // Apart from the main thread, the one that was woken up most often.
    static pid_t busiestThread(const std::map<pid_t, ThreadCounts>& threads) {
        pid_t busiest = -1;
        std::int64_t most = 0;
        for (const auto& [thread, counts] : threads) {
            if (thread == getpid() || counts.wakeUps <= most) continue;
            busiest = thread;
            most = counts.wakeUps;
        }
        if (busiest < 0) throw Wrong("there is no communications thread");
        return busiest;
    }

    Suite& suite_;
    const SwitchServerProcess server_;
    PluginSession session_;
    BareClient bare_;
    ThreadedClient threaded_;
    PeerClient python_;
    PeerClient node_;
    pid_t communicationsThread_ = -1;
};

}  // namespace

void measureExchanges(Suite& suite) {
    Exchanges exchanges(suite);
    for (const Placement& placement : Placement::all()) {
        exchanges.compare(placement);
    }
    exchanges.count();
    exchanges.idle();
}

}  // namespace velmora::bench
