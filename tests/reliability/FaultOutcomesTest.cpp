// Every fault of a switch server against every command, through the whole plugin: what the host gets, what the log
// says, how long the main thread waits, and what becomes of the connection. What is found is the table in
// docs/reliability.md.
#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <functional>
#include <set>
#include <sstream>

#include "plugin/VelmoraSwitchNodePlugin.h"
#include "tests/plugin/Settings.h"
#include "tests/support/LogLines.h"
#include "tests/support/VirtualSwitch.h"

namespace velmora::test {
namespace {

// Only where the limit is to pass is it a short one: there a slow machine must not pass it earlier.
constexpr TelnetTimeLimits kRealLimit;
constexpr TelnetTimeLimits kShortLimit{Seconds(0.5), Seconds(0.1)};
constexpr Seconds kAllowance{0.5};
const char* const kAttribute = "Velmora Switch Output 1";

// The outcome for the host when the fault meets the reply to a command. The size known before is 7x7.
struct Row {
    std::string fault;
    std::string size, value, label;  // by MATRIXSIZE, GET and the labels
    std::string refreshed;           // by GET, when the fault met REFRESH before it
    std::string log;
    std::string next;  // what the next command on the connection gets; a connection on which that is nothing is closed
    std::string told;  // what the status protocol says of GET, SET, and GET after REFRESH
    std::string state = "connected";  // and of the connection
    std::string set = "0, routed";
    bool wholeConnection = false;
};
const char* const kEnded = "NSStreamEventEndEncountered";
const char* const kTimeOut = "NSStreamEventEndEncountered because of a timeout";
const std::string kOneRead(2048, 'x');  // what one read takes
const char* const kStateNames[] = {"none", "not found", "connecting", "connected", "ended", "failed"};
const char* const kAnswerNames[] = {"none",     "answered",      "unusable", "connection ended",
                                    "too late", "no connection", "refused"};

const Row kRows[] = {
    {"delay=100", "24x10", "0023 Input 23", "Camera 5", "0023 Input 23", "", "its reply", "answered"},
    {"pieces=1", "7x7", "0001 Input 1", "C", "0001 Input 1", "", "the rest", "unusable"},
    {"double", "7x7", "0001 Input 1", "Camera 5\r\nCamera 5", "0023 Input 23", "", "its reply",
     "unusable, answered, answered"},
    {"unasked", "24x10", "0023 Input 23", "Camera 5", "0001 Input 1", "", "the rest", "answered, answered, unusable"},
    {"empty", "7x7", "0001 Input 1", "", "0023 Input 23", "", "its reply", "unusable, unusable, answered"},
    {"not-utf8", "7x7", "0001 Input 1", "(null)", "0023 Input 23", "", "its reply", "unusable, unusable, answered"},
    {"long=2049", "7x7", "0001 Input 1", kOneRead, "0001 Input 1", "", "the rest", "unusable"},
    {"long=1048576", "7x7", "0001 Input 1", kOneRead, "0001 Input 1", "", "the rest", "unusable"},
    {"control", "24x10", "0000 Input 0", "Came\ara 5", "0023 Input 23", "", "its reply",
     "unusable, answered, answered"},
    {"wrong", "7x7", "0001 Input 1", "WHAT DO YOU MEAN?", "0023 Input 23", "", "its reply",
     "unusable, answered, answered"},
    {"huge", "7x7", "9223372036854775807 Input 9223372036854775807", "Camera 99999999999999999999", "0023 Input 23", "",
     "its reply", "unusable, answered, answered"},
    {"negative", "7x7", "-023 Input -23", "Camera -5", "0023 Input 23", "", "its reply",
     "unusable, answered, answered"},
    {"close-before", "7x7", "0001 Input 1", "(null)", "0001 Input 1", kEnded, "nothing", "connection ended", "ended"},
    {"close-during", "7x7", "0000 Input 0", "Came", "0001 Input 1", kEnded, "nothing", "connection ended", "ended"},
    {"close-after", "24x10", "0023 Input 23", "Camera 5", "0001 Input 1", kEnded, "nothing",
     "answered, answered, connection ended", "ended"},
    {"reset", "7x7", "0001 Input 1", "(null)", "0001 Input 1", "Connection failed: Connection reset by peer", "nothing",
     "connection ended", "failed"},
    {"silence", "7x7", "0001 Input 1", "(null)", "0001 Input 1", kTimeOut, "nothing", "too late", "failed"},
    {"stop-reading", "24x10", "0023 Input 23", "Camera 5", "0001 Input 1", kTimeOut, "nothing",
     "answered, answered, too late", "failed"},
    {"mute", "0x0", "", "(null)", "", kTimeOut, "nothing", "no connection", "failed", "-1", true},
    {"no-accept", "0x0", "", "(null)", "", kTimeOut, "nothing", "no connection", "failed", "-1", true},
};

// A switch server of 24 inputs and 10 outputs, on the network, and the plugin.
class FaultOutcomes : public testing::Test {
  protected:
    FaultOutcomes() {
        EXPECT_TRUE(switch_.matrix.apply({{"Input 1", "Input 2", "Input 3", "Input 4", "Camera 5"}, {"Camera 5"}, {}}));
    }
    ~FaultOutcomes() override {
        plugin_->stop();
        plugin_ = nullptr;
        EXPECT_TRUE(NSThread::finishCancelledThreads(Seconds(5)));
    }

    void use(TelnetTimeLimits limits, const Outputs& outputs) {
        if (plugin_ != nullptr) plugin_->stop();
        limits_ = limits;
        plugin_ = std::make_shared<VelmoraSwitchNodePlugin>(nullptr, limits);
        settings_ = settingsWith("Faults", outputs);
        plugin_->startAndSetCurrentValuesToDefaults(false);
        const auto found = [this] { return valueForKey(plugin_->defaultSettings(), "availableDevices")->array(); };
        EXPECT_TRUE(runMainLoopUntil([&] { return !found()->empty(); }));
    }
    // A new connection, which works. The one before has gone, with all that the server still had to read from it.
    void connect() {
        switch_.faults.set({});
        plugin_->setDefaultSettings(settings_);
        EXPECT_TRUE(runMainLoopUntil([this] { return device().numberOfInputs() == 24; }));
        EXPECT_TRUE(runMainLoopUntil([this] { return switch_.server->clients() == 1; }));
        EXPECT_EQ(set(), "0, routed");
        EXPECT_EQ(value(), "0007 Input 7");
        switch_.matrix.route(1, 23);
    }
    bool isOver() {
        return runMainLoopUntil([this] { return !device().isConnected() && !device().isTryingToConnect(); });
    }

    TCPMatrixSwitcher& device() { return *plugin_->selectedDevice(); }
    std::string value() { return plugin_->currentValueOfAttributeWithName(kAttribute); }
    std::string set() {
        const int result = plugin_->setValueForAttributeWithName("0007", kAttribute);
        return std::to_string(result) + (switch_.matrix.routedInput(1) == 7 ? ", routed" : "");
    }

    // The result; the longest time of the main thread, in seconds, is kept.
    template <typename Work>
    auto timed(Work work) {
        const auto begin = std::chrono::steady_clock::now();
        auto result = work();
        const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
        longestWait_ = std::max(longestWait_, time);
        return result;
    }

    struct Command {
        const char* word;
        std::string Row::*expected;
        std::function<std::string()> ask;
        bool isAttribute = false;
    };
    const Command commands_[6] = {
        {"MATRIXSIZE", &Row::size,
         [this] {
             const NSSize size = device().getMatrixDimensions();
             return stringWithFormat("%ix%i", static_cast<int>(size.width), static_cast<int>(size.height));
         }},
        {"GET", &Row::value, [this] { return value(); }, true},
        {"SET", &Row::set, [this] { return set(); }, true},
        {"INPUTLABEL", &Row::label, [this] { return device().inputLabelAtIndex(4).value_or("(null)"); }},
        {"OUTPUTLABEL", &Row::label, [this] { return device().outputLabelAtIndex(0).value_or("(null)"); }},
        {"REFRESH", &Row::refreshed, [this] { return value(); }, true},
    };
    // The outcome for the host, then the last columns of the table.
    Strings meet(const Row& row, const Command& command);

    VirtualSwitch switch_{"Faults", 24, 10};
    std::shared_ptr<VelmoraSwitchNodePlugin> plugin_;
    TelnetTimeLimits limits_;
    DictionaryReference settings_;
    std::optional<LogLines> log_;
    Strings told_;
    Seconds longestWait_{};
};

Strings FaultOutcomes::meet(const Row& row, const Command& command) {
    // On a connection that is faulty as a whole, all commands are tried one after the other.
    if (!row.wholeConnection || &command == commands_) {
        connect();
        if (command.expected == &Row::size) {
            switch_.faults.set({fault("wrong=7x7@MATRIXSIZE")});
            device().getMatrixDimensions();
        }
        std::vector<Fault> faults{fault(row.wholeConnection ? row.fault : row.fault + "@" + command.word + "#1")};
        // GET's own reply comes only when what REFRESH has left is read.
        if (command.expected == &Row::refreshed && row.next == "the rest") faults.push_back(fault("delay=300@GET"));
        switch_.faults.set(std::move(faults));
        log_.emplace();
        longestWait_ = {};
        if (row.wholeConnection) {
            plugin_->setDefaultSettings(settings_);
            timed([this] { return device().selectedInputForOutput(0); });
            EXPECT_TRUE(isOver());
        }
    }
    const std::string result = timed([&] { return command.ask(); });
    // Whether a reply without a line end was a part of one shows when the connection ends, and nothing else is asked.
    EXPECT_TRUE(row.state != "ended" || isOver());
    if (command.isAttribute) told_.push_back(kAnswerNames[static_cast<int>(plugin_->lastOutcome().answer)]);
    const auto next = timed([this] { return device().inputLabelAtIndex(0); });
    EXPECT_TRUE(next || isOver());
    EXPECT_EQ(device().isConnected(), row.state == "connected");
    std::string lines;
    for (const std::string& line : log_->lines()) {
        lines += line.starts_with("NSStream") || line.starts_with("Connection failed") ? line : "";
    }
    EXPECT_LE(longestWait_, limits_.reply + kAllowance) << row.fault << "@" << command.word;
    EXPECT_TRUE(row.fault != "delay=100" || longestWait_ >= Seconds(0.1));
    const char* const following = !next ? "nothing" : next == "Input 1" ? "its reply" : "the rest";
    return {result, lines, longestWait_ < limits_.reply ? "short" : "time-out",
            kStateNames[static_cast<int>(plugin_->connectionStatus().state)], following};
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
    for (const Row& row : kRows) {
        tried.insert(row.fault.substr(0, row.fault.find('=')));
    }
    EXPECT_EQ(tried, verbs);
}

TEST_F(FaultOutcomes, areWhatThePageSays) {
    use(kRealLimit, {{"Monitor", 0, 0}});
    connect();
    log_.emplace();
    switch_.faults.set({fault("silence@SET")});
    EXPECT_EQ(timed([this] { return set(); }), "0, routed");
    EXPECT_GE(longestWait_, Seconds(10));
    EXPECT_LE(longestWait_, Seconds(10) + kAllowance);
    EXPECT_EQ(log_->lines(), Strings{kTimeOut});
    EXPECT_FALSE(device().isConnected());
    std::string table =
        "| fault | MATRIXSIZE | GET | SET | INPUTLABEL | OUTPUTLABEL | REFRESH, then GET | log | wait | "
        "connection | the next command gets | told of GET, SET, REFRESH |\n";
    table += "| --- | --- | --- | --- | --- | --- | --- | --- | --- | --- | --- | --- |\n";
    for (const Row& row : kRows) {
        if (row.log == kTimeOut && limits_.reply > kShortLimit.reply) use(kShortLimit, {});
        table += "|" + cell(row.fault);
        Strings found;
        told_.clear();
        for (const Command& command : commands_) {
            found = meet(row, command);
            EXPECT_EQ(found, (Strings{row.*command.expected, row.log, row.log == kTimeOut ? "time-out" : "short",
                                      row.state, row.next}))
                << row.fault << "@" << command.word;
            table += cell(found.front());
        }
        for (std::size_t column = 1; column < found.size(); ++column) {
            table += cell(found[column]);
        }
        std::string told = told_[0];
        if (told_ != Strings(3, told)) told += ", " + told_[1] + ", " + told_[2];
        EXPECT_EQ(told, row.told) << row.fault;
        table += cell(told) + "\n";
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
