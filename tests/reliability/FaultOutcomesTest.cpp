// Every fault of a switch server against every command, through the whole plugin: what the host gets, what the log
// says, how long the main thread waits, and what becomes of the connection. What is to be found is the table in
// docs/reliability.md.
#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <functional>
#include <set>
#include <sstream>

#include "tests/plugin/PluginFixture.h"
#include "tests/support/LogLines.h"
#include "tests/support/VirtualSwitch.h"

namespace velmora::test {
namespace {

// Only where the limit is to pass is it a short one: there a slow machine must not pass it earlier.
constexpr TelnetTimeLimits kRealLimit;
constexpr TelnetTimeLimits kShortLimit{Seconds(0.5), Seconds(0.1)};
constexpr Seconds kAllowance{0.5};
const char* const kTimeOut = "NSStreamEventEndEncountered because of a timeout";
const char* const kStateNames[] = {"none", "not found", "connecting", "connected", "ended", "failed"};
const char* const kAnswerNames[] = {"none",     "answered",      "unusable", "connection ended",
                                    "too late", "no connection", "refused"};

// In the order of the table.
const Strings kFaults{"delay=100",    "pieces=1", "double",  "unasked",      "empty",    "not-utf8",     "long=2049",
                      "long=1048576", "control",  "wrong",   "huge",         "negative", "close-before", "close-during",
                      "close-after",  "reset",    "silence", "stop-reading", "mute",     "no-accept"};
// With these REFRESH leaves something, and GET's own reply must not come before that is read.
const std::set<std::string> kLeavingTheRest{"pieces=1", "unasked", "long=2049", "long=1048576"};
// Whether a reply was a part of one shows when the connection ends, and nothing else is asked.
const std::set<std::string> kEnding{"close-before", "close-during", "close-after"};
// Faults of the whole connection: all commands are tried one after the other.
const std::set<std::string> kOfTheConnection{"mute", "no-accept"};

// A switch server of 24 inputs and 10 outputs, on the network, and the plugin.
class FaultOutcomes : public PluginFixture {
  protected:
    FaultOutcomes() {
        EXPECT_TRUE(server.matrix.apply({{"Input 1", "Input 2", "Input 3", "Input 4", "Camera 5"}, {"Camera 5"}, {}}));
    }

    void use(TelnetTimeLimits newLimits, const Outputs& outputs) {
        plugin->stop();
        limits = newLimits;
        plugin = std::make_shared<VelmoraSwitchNodePlugin>(nullptr, limits);
        settings = settingsWith("Faults", outputs);
        plugin->startAndSetCurrentValuesToDefaults(false);
        EXPECT_TRUE(runMainLoopUntil([this] { return available() > 0; }));
    }
    // A new connection, which works. The one before has gone, with all that the server still had to read from it.
    void connect() {
        server.faults.set({});
        plugin->setDefaultSettings(settings);
        EXPECT_TRUE(runMainLoopUntil([this] { return device().numberOfInputs() == 24; }));
        EXPECT_TRUE(runMainLoopUntil([this] { return server.server->clients() == 1; }));
        EXPECT_EQ(set(), "0, routed");
        EXPECT_EQ(value(), "0007 Input 7");
        server.matrix.route(1, 23);
    }
    bool isOver() {
        return runMainLoopUntil([this] { return !device().isConnected() && !device().isTryingToConnect(); });
    }

    TCPMatrixSwitcher& device() { return *plugin->selectedDevice(); }
    std::string value() { return plugin->currentValueOfAttributeWithName(kOne); }
    std::string set() {
        const int result = plugin->setValueForAttributeWithName("0007", kOne);
        return std::to_string(result) + (server.matrix.routedInput(1) == 7 ? ", routed" : "");
    }

    // The result; the longest time of the main thread, in seconds, is kept.
    template <typename Work>
    auto timed(Work work) {
        const auto begin = std::chrono::steady_clock::now();
        auto result = work();
        const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
        longestWait = std::max(longestWait, time);
        return result;
    }

    struct Command {
        const char* word;
        std::function<std::string()> ask;
        bool isAttribute = false;
    };
    const Command commands[6] = {
        {"MATRIXSIZE",
         [this] {
             const NSSize size = device().getMatrixDimensions();
             return stringWithFormat("%ix%i", static_cast<int>(size.width), static_cast<int>(size.height));
         }},
        {"GET", [this] { return value(); }, true},
        {"SET", [this] { return set(); }, true},
        {"INPUTLABEL", [this] { return device().inputLabelAtIndex(4).value_or("(null)"); }},
        {"OUTPUTLABEL", [this] { return device().outputLabelAtIndex(0).value_or("(null)"); }},
        {"REFRESH", [this] { return value(); }, true},
    };
    // The outcome for the host, then the last columns of the table, but for what is told.
    Strings meet(const std::string& name, const Command& command);

    VirtualSwitch server{"Faults", 24, 10};
    TelnetTimeLimits limits;
    DictionaryReference settings;
    std::optional<LogLines> log;
    Strings told;
    Seconds longestWait{};
};

Strings FaultOutcomes::meet(const std::string& name, const Command& command) {
    const bool isOfTheConnection = kOfTheConnection.contains(name);
    if (!isOfTheConnection || &command == commands) {
        connect();
        if (&command == commands) {
            // The size that is known before is another one.
            server.faults.set({fault("wrong=7x7@MATRIXSIZE")});
            device().getMatrixDimensions();
        }
        std::vector<Fault> faults{fault(isOfTheConnection ? name : name + "@" + command.word + "#1")};
        if (kLeavingTheRest.contains(name) && &command == &commands[5]) faults.push_back(fault("delay=300@GET"));
        server.faults.set(std::move(faults));
        log.emplace();
        longestWait = {};
        if (isOfTheConnection) {
            plugin->setDefaultSettings(settings);
            timed([this] { return device().selectedInputForOutput(0); });
            EXPECT_TRUE(isOver());
        }
    }
    const std::string result = timed([&] { return command.ask(); });
    EXPECT_TRUE(!kEnding.contains(name) || isOver());
    if (command.isAttribute) told.push_back(kAnswerNames[static_cast<int>(plugin->lastOutcome().answer)]);
    const auto next = timed([this] { return device().inputLabelAtIndex(0); });
    EXPECT_TRUE(next || isOver());
    std::string lines;
    for (const std::string& line : log->lines()) {
        lines += line.starts_with("NSStream") || line.starts_with("Connection failed") ? line : "";
    }
    EXPECT_LE(longestWait, limits.reply + kAllowance) << name << "@" << command.word;
    EXPECT_TRUE(name != "delay=100" || longestWait >= Seconds(0.1));
    const char* const following = !next ? "nothing" : next == "Input 1" ? "its reply" : "the rest";
    return {result, lines, longestWait < limits.reply ? "short" : "time-out",
            kStateNames[static_cast<int>(plugin->connectionStatus().state)], following};
}

std::string cell(const std::string& text) {
    if (text.empty()) return " |";
    if (text.size() > 60) return " " + std::to_string(text.size()) + " bytes |";
    return " `" + stringByEscapingControlCharacters(text) + "` |";
}

TEST(FaultTable, hasARowForEachVerbOfTheServer) {
    std::set<std::string> verbs, tried;
    std::istringstream help(faultHelp());
    for (std::string verb, rest; help >> verb && std::getline(help, rest);) {
        verbs.insert(verb.substr(0, verb.find_first_of("[=")));
    }
    for (const std::string& fault : kFaults) {
        tried.insert(fault.substr(0, fault.find('=')));
    }
    EXPECT_EQ(tried, verbs);
}

TEST_F(FaultOutcomes, areWhatThePageSays) {
    use(kRealLimit, {{"Monitor", 0, 0}});
    connect();
    log.emplace();
    server.faults.set({fault("silence@SET")});
    EXPECT_EQ(timed([this] { return set(); }), "0, routed");
    EXPECT_GE(longestWait, Seconds(10));
    EXPECT_LE(longestWait, Seconds(10) + kAllowance);
    EXPECT_EQ(log->lines(), Strings{kTimeOut});
    EXPECT_FALSE(device().isConnected());
    std::string table =
        "| fault | MATRIXSIZE | GET | SET | INPUTLABEL | OUTPUTLABEL | REFRESH, then GET | log | wait | "
        "connection | the next command gets | told of GET, SET, REFRESH |\n";
    table += "| --- | --- | --- | --- | --- | --- | --- | --- | --- | --- | --- | --- |\n";
    for (const std::string& name : kFaults) {
        if (name == "silence") use(kShortLimit, {});
        table += "|" + cell(name);
        Strings columns;
        told.clear();
        for (const Command& command : commands) {
            Strings found = meet(name, command);
            table += cell(found.front());
            found.erase(found.begin());
            if (columns.empty()) columns = found;
            EXPECT_EQ(found, columns) << name << "@" << command.word;
        }
        columns.push_back(told[0]);
        if (told != Strings(3, told[0])) columns.back() += ", " + told[1] + ", " + told[2];
        for (const std::string& column : columns) {
            table += cell(column);
        }
        table += "\n";
    }
    connect();
    if (const char* file = std::getenv("VELMORA_RELIABILITY_TABLE")) {
        std::ofstream(file) << table;
    } else {
        std::stringstream page;
        page << std::ifstream(VELMORA_RELIABILITY_PAGE).rdbuf();
        EXPECT_NE(page.str().find("-->\n\n" + table + "\n<!--"), std::string::npos)
            << "After a change that is meant, build the target reliability-table:\n"
            << table;
    }
}

}  // namespace
}  // namespace velmora::test
