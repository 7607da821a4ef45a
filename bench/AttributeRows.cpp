#include <memory>
#include <vector>

#include "bench/Contender.h"
#include "bench/HeapCount.h"
#include "bench/Placement.h"
#include "bench/PluginSession.h"
#include "bench/Rows.h"
#include "bench/SwitchServerProcess.h"
#include "bench/Traffic.h"
#include "bench/Wrong.h"

namespace velmora::bench {

namespace {

constexpr int kSizes[] = {16, 128, 512, 1152};
constexpr int kRebuiltOutputs = 8;
// Smaller matrices are rebuilt more often, so that all sizes make about as many exchanges per round.
constexpr int kExchangesOfSmallRound = 1200;

// A matrix of one size and a plugin that is connected to it.
struct Matrix {
    explicit Matrix(int inputs, int outputs, int configuredOutputs)
        : server(newServerName(), inputs, outputs), session(server.name(), configuredOutputs) {
        session.waitForAttributes();
    }

    // Microseconds for each exchange.
    double rebuild(int times) {
        const Traffic before = trafficWithPort(server.port());
        const auto start = Clock::now();
        for (int i = 0; i < times; ++i) {
            session.plugin().updateAttributes();
        }
        const double time = microsecondsSince(start);
        const auto exchanges = trafficWithPort(server.port()).repliesReceived - before.repliesReceived;
        if (exchanges == 0) throw Wrong("a rebuild asks the server nothing");
        return time / static_cast<double>(exchanges);
    }

    const SwitchServerProcess server;
    PluginSession session;
};

void measureRebuild(Suite& suite) {
    std::vector<std::unique_ptr<Matrix>> matrices;
    std::vector<pid_t> servers;
    for (const int size : kSizes) {
        matrices.push_back(std::make_unique<Matrix>(size, size, kRebuiltOutputs));
        servers.push_back(matrices.back()->server.id());
    }
    for (const Placement& placement : Placement::all()) {
        placement.apply(servers);
        std::vector<Contender> all;
        for (const auto& matrix : matrices) {
            const auto inputs = matrix->session.switcher().numberOfInputs();
            const auto times = 1 + kExchangesOfSmallRound / (kRebuiltOutputs * static_cast<int>(inputs));
            all.push_back({std::to_string(inputs), [&matrix = *matrix, times] { return matrix.rebuild(times); }});
        }
        takeTurns(all, suite.quick ? 3 : 11);
        for (std::size_t i = 0; i < all.size(); ++i) {
            const double ratio = all[i].medianFigure() / all[0].medianFigure();
            Row row{.group = "rebuild", .name = "", .placement = placement.name()};
            row.name = "rebuild of 8 attributes, each exchange, " + all[i].name + "x" + all[i].name;
            row.figure = all[i].medianFigure();
            row.unit = "us";
            row.size = kSizes[i];
            row.rounds = all[i].figures;
            if (i > 0) {
                row.against = "16x16";
                row.againstFigure = all[0].medianFigure();
                row.ratio = ratio;
            }
            if (i > 0 && placement.isJudged()) {
                row.target = "0.90 to 1.10";
                row.met = ratio >= 0.9 && ratio <= 1.1;
            }
            suite.report.add(std::move(row));
        }
    }
}

// The bytes that the release gives back to the heap.
template <typename Release>
double bytesHeldBy(Release release) {
    const HeapCount heap;
    release();
    return static_cast<double>(-heap.bytes());
}

void measureMemory(Suite& suite) {
    constexpr int outputs = 256;
    Matrix matrix(1152, outputs, outputs);
    VelmoraSwitchNodePlugin& plugin = matrix.session.plugin();
    auto list = makeStringList(*plugin.possibleValuesOfAttributeWithName(plugin.attributeNames()->front()));
    if (list->size() != 1152) throw Wrong("an attribute should have 1,152 possible values");
    const double oneList = bytesHeldBy([&list] { list = nullptr; });
    const auto none = std::make_shared<const AttributeDictionary>();
    const double attributes = bytesHeldBy([&] { plugin.setAttributes(none); });
    Row row{.group = "memory", .name = "memory of the attributes, 1,152 inputs, 256 outputs"};
    row.figure = attributes / 1024;
    row.unit = "KiB";
    row.against = "one list of the value texts";
    row.againstFigure = oneList / 1024;
    row.ratio = attributes / oneList;
    row.target = "less than 2.00";
    row.met = attributes < 2 * oneList;
    suite.report.add(std::move(row));
}

void measureLookUps(Suite& suite) {
    constexpr int outputs = 1152;
    // The number of inputs does not matter here, and a small one keeps the rebuild short.
    Matrix matrix(16, outputs, outputs);
    const VelmoraSwitchNodePlugin& plugin = matrix.session.plugin();
    const StringList names = plugin.attributeNames();
    if (names->size() != outputs) throw Wrong("there should be 1,152 attributes");
    // Each looks up one attribute and answers whether the result was right.
    using LookUp = std::function<bool(const std::string& name)>;
    const std::pair<const char*, LookUp> lookUps[] = {
        {"names", [&](const std::string&) { return plugin.attributeNames() == names; }},
        {"type", [&](const std::string& name) { return plugin.typeOfAttributeWithName(name) == "MultipleValues"; }},
        {"possible values",
         [&](const std::string& name) { return plugin.possibleValuesOfAttributeWithName(name)->size() == 16; }},
        {"default value",
         [&](const std::string& name) { return plugin.defaultValueOfAttributeWithName(name) == "0001 Input 1"; }},
    };
    const Traffic before = trafficWithPort(matrix.server.port());
    std::vector<Contender> all;
    for (const auto& [name, lookUp] : lookUps) {
        all.push_back({name, [&names, &lookUp = lookUp, name = std::string(name)] {
                           const auto start = Clock::now();
                           bool right = true;
                           for (const std::string& attribute : *names) {
                               right = lookUp(attribute) && right;
                           }
                           const double time = microsecondsSince(start);
                           if (!right) throw Wrong("a look-up of the " + name + " is wrong, or made anew each time");
                           return 1000 * time / outputs;
                       }});
    }
    takeTurns(all, suite.rounds());
    if (trafficWithPort(matrix.server.port()) != before) throw Wrong("look-ups talk to the server");
    for (const Contender& lookUp : all) {
        Row row{.group = "look-ups", .name = "look-up at 1,152 outputs: " + lookUp.name};
        row.figure = lookUp.medianFigure();
        row.unit = "ns";
        row.target = "less than 1000";
        row.met = lookUp.medianFigure() < 1000;
        suite.report.add(std::move(row));
    }
}

}  // namespace

void measureAttributes(Suite& suite) {
    measureRebuild(suite);
    measureMemory(suite);
    measureLookUps(suite);
}

}  // namespace velmora::bench
