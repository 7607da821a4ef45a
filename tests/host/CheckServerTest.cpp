// The check of a switch server, against the virtual one with every fault that it has, and against the page for those
// who write a server.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <atomic>
#include <csignal>
#include <fstream>
#include <set>
#include <sstream>
#include <thread>

#include "host/terminal/servercheck/ServerCheck.h"
#include "host/terminal/servercheck/ServerSearch.h"
#include "server/SwitchServer.h"
#include "tests/host/HostFixture.h"

namespace velmora::test {

namespace {

// A virtual server of 3 inputs and 2 outputs, and a check of it.
struct CheckedServer {
    explicit CheckedServer(const std::vector<std::string>& words, int inputs = 3, int outputs = 2)
        : matrix(inputs, outputs) {
        std::vector<Fault> list;
        for (const std::string& word : words) {
            list.push_back(*parseFault(word));
        }
        faults.set(list);
        matrix.setNewsObserver([this](const MatrixNews& news) { routes.push_back(news.input); });
        EXPECT_TRUE(server.start("127.0.0.1", 0));
    }
    ServerCheck check(Seconds wait, CheckLimits limits) {
        return {{*SocketAddress::fromText("127.0.0.1", server.port())}, fromNow(wait), limits};
    }

    VirtualMatrix matrix;
    FaultPlan faults;
    std::vector<int> routes;  // each that was set, by its input
    SwitchServer server{matrix, nullptr, &faults};
};

// Short where a limit is to pass, so that a slow machine does not pass others.
constexpr CheckLimits kLimits{Seconds(2), Seconds(0.15), Seconds(5)};
constexpr CheckLimits kImpatient{Seconds(2), Seconds(0.15), Seconds(0.5)};

constexpr const char* kCommands[] = {"MATRIXSIZE", "GET", "SET", "INPUTLABEL", "OUTPUTLABEL", "REFRESH"};

// Why a fault of one command does not show in the reply. All other outcomes are names of findings.
constexpr const char* kFreeText = "any text but ERROR will do";
constexpr const char* kNoNumber = "there is no number in the reply";
constexpr const char* kALabel = "the label may be meant so";

// In the order of the commands; one for all of them.
using Outcomes = std::vector<std::string>;
const std::map<std::string, Outcomes> kOutcomes = {
    {"delay=700", {"slow"}},
    {"silence", {"no-answer"}},
    {"pieces=1", {"in-pieces"}},
    {"double", {"two-replies"}},
    {"unasked", {"unasked"}},
    {"empty", {"wrong-size", "wrong-route", "set-unconfirmed", "no-label", "no-label", "empty-refresh"}},
    {"not-utf8", {"not-utf8"}},
    {"long=2049", {"too-long"}},
    {"control", {"control-characters"}},
    {"wrong", {"wrong-size", "wrong-route", kFreeText, "same-labels", "same-labels", kFreeText}},
    {"huge", {"beyond-size", "wrong-route", kNoNumber, "same-labels", "same-labels", kNoNumber}},
    {"negative", {"wrong-size", "wrong-route", kNoNumber, kALabel, kALabel, kNoNumber}},
    {"close-before", {"closed-instead"}},
    {"close-during", {"closed-during"}},
    {"close-after", {"closed-after"}},
    {"reset", {"reset"}},
    {"stop-reading", {"no-answer"}},
    {"mute", {"no-answer"}},
    {"no-accept", {"no-answer"}},
};

// The finding that matters: the first problem; of notes all.
std::set<std::string> namesFoundIn(ServerCheck& check) {
    std::set<std::string> names;
    if (const auto* const problem = check.findings().firstProblem()) return {problem->row->name};
    for (int i = 0; i < kCheckCount; ++i) {
        for (const auto& entry : check.findings().of(static_cast<Check>(i))) {
            names.insert(entry.row->name);
        }
    }
    return names;
}

void meet(const std::string& fault, const std::string& command, const std::string& outcome) {
    CheckedServer server({command.empty() ? fault : fault + "@" + command});
    auto check = server.check(Seconds(25), fault.starts_with("delay") ? kImpatient : kLimits);
    EXPECT_TRUE(check.run(1));
    if (command == "SET") check.trySet(2);
    const auto names = namesFoundIn(check);
    if (outcome.find(' ') != std::string::npos) {
        EXPECT_EQ(names, std::set<std::string>()) << fault << "@" << command;
    } else {
        EXPECT_TRUE(names.contains(outcome))
            << fault << "@" << command << ": " << (names.empty() ? "nothing" : *names.begin());
    }
}

std::string bytesOf(const std::string& line) {
    std::istringstream words(line.substr(1, line.find("  ", 3)));
    std::string bytes;
    for (unsigned byte = 0; words >> std::hex >> byte;) {
        bytes += static_cast<char>(byte);
    }
    return bytes;
}

// Where a virtual server that was just started says that it listens.
QString placeOf(Program& server) {
    const std::string listening = server.outputLine();
    return QString::fromStdString(listening.substr(13, listening.find(',') - 13));
}

class CheckServerProgram : public HostWithServer {};

}  // namespace

TEST(ServerCheck, findsEachFaultOfTheVirtualServerThatShowsInAReply) {
    std::set<std::string> verbs, expected;
    std::istringstream help(faultHelp());
    for (std::string verb, rest; help >> verb && std::getline(help, rest);) {
        verbs.insert(verb.substr(0, verb.find_first_of("[=")));
    }
    std::vector<std::function<void()>> cases;
    for (const auto& [fault, outcomes] : kOutcomes) {
        const std::string verb = fault.substr(0, fault.find('='));
        expected.insert(verb);
        if (verb == "mute" || verb == "no-accept") {
            cases.emplace_back([&] { meet(fault, "", outcomes[0]); });
            continue;
        }
        for (std::size_t i = 0; i < std::size(kCommands); ++i) {
            cases.emplace_back([&, i] { meet(fault, kCommands[i], outcomes[outcomes.size() > 1 ? i : 0]); });
        }
    }
    EXPECT_EQ(expected, verbs);
    std::atomic<std::size_t> next = 0;
    std::vector<std::jthread> threads;
    for (int i = 0; i < 16; ++i) {
        threads.emplace_back([&] {
            for (std::size_t at = next++; at < cases.size(); at = next++) {
                cases[at]();
            }
        });
    }
}

TEST(ServerCheck, changesARouteOnlyWhenAskedAndPutsItBackAlsoOnANewConnection) {
    CheckedServer good({});
    auto check = good.check(Seconds(25), kLimits);
    EXPECT_TRUE(check.run(2));
    EXPECT_EQ(namesFoundIn(check), std::set<std::string>());
    EXPECT_EQ(check.leftOut(), std::vector<std::string>());
    EXPECT_TRUE(good.routes.empty());
    EXPECT_EQ(check.good(Check::labels), "3 labels of inputs, 2 of outputs");
    check.trySet(2);
    EXPECT_EQ(good.routes, (std::vector{3, 2}));  // a route that was there already is no news

    CheckedServer closing({"close-before@SET#2"});
    auto other = closing.check(Seconds(25), kLimits);
    EXPECT_TRUE(other.run(1));
    other.trySet(2);
    EXPECT_EQ(closing.routes, (std::vector{3, 2}));
    EXPECT_EQ(namesFoundIn(other), std::set<std::string>{"closed-instead"});
}

TEST(ServerCheck, endsInTimeWhateverTheServerDoes) {
    CheckedServer slow({"delay=100"}, VirtualMatrix::kMaximumSize, 2);
    auto check = slow.check(Seconds(3), kLimits);
    EXPECT_TRUE(check.run(10));
    EXPECT_FALSE(check.leftOut().empty());
    EXPECT_EQ(namesFoundIn(check), std::set<std::string>{"host-blocked"});

    const ListeningPort port;
    std::jthread flood([&port](const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            Socket connection(port.accept());
            while (!stop.stop_requested() && connection.send(std::string(4096, 'x'))) {
            }
        }
    });
    const Date begin = Date::clock::now();
    ServerCheck flooded({*SocketAddress::fromText("127.0.0.1", port.port())}, fromNow(Seconds(3)), kLimits);
    EXPECT_TRUE(flooded.run(10));
    EXPECT_EQ(namesFoundIn(flooded), std::set<std::string>{"endless"});
    for (const Check ofReplies : {Check::segments, Check::lineEnds, Check::text}) {
        EXPECT_EQ(flooded.good(ofReplies), "") << nameOf(ofReplies);
    }
    EXPECT_LT(Date::clock::now() - begin, Seconds(20));
    flood.request_stop();
    const TestClient last(port.port());  // so that it sees that
}

TEST(ServerCheck, knowsAPlaceFromAName) {
    const auto kindOf = [](const char* text) {
        const auto place = hostAndPortInText(text);
        return !place ? "wrong" : *place ? "place" : "name";
    };
    for (const char* const place : {"127.0.0.1:4000", "[::1]:1", "my_router-2.example:65535", "localhost:1", "[a]:1"}) {
        EXPECT_STREQ(kindOf(place), "place") << place;
    }
    for (const char* const name : {"Studio 1", "Rack:1", "Vision 2.1:30", "a:65536", ":4000", "[]:1", "192.0.2.7"}) {
        EXPECT_STREQ(kindOf(name), "name") << name;
    }
    for (const char* const wrong : {"127.0.0.1:0", "127.0.0.1:65536", "127.0.0.1:", "::1:4000", "::1", "[::1]"}) {
        EXPECT_STREQ(kindOf(wrong), "wrong") << wrong;
    }
}

// The bytes on the page are what the virtual server gets and gives, and the plugin sends just these commands.
TEST_F(CheckServerProgram, theSessionOnThePageIsOneThatHappens) {
    std::ifstream page(VELMORA_WIRE_PAGE);
    std::string line;
    while (std::getline(page, line) && line != "<!-- session -->") {
    }
    CheckedServer server({}, 3, 2);
    TestClient client(server.server.port());
    std::vector<std::string> commands;
    while (std::getline(page, line) && line != "<!-- end of session -->") {
        const std::string bytes = bytesOf(line.empty() ? " " : line);
        if (line.starts_with("> ")) {
            commands.push_back(bytes.substr(0, bytes.size() - 2));
            EXPECT_TRUE(client.send(bytes));
        } else if (line.starts_with("< ")) {
            EXPECT_EQ(client.receive(2048, 0), bytes) << line;
        }
    }
    ASSERT_FALSE(commands.empty());
    const QString settings = writeSettings(name_, {{"Programme", 0, 1}});
    const auto set = runHost({"--settings", settings, "set", "1", "3"});
    EXPECT_EQ(set.output, "0003 Input 3\n") << set.errors.constData();
    server_.sendSignal();
    std::vector<std::string> sent;
    for (std::istringstream lines(server_.output()); std::getline(lines, line);) {
        if (const auto at = line.find(" < "); at != std::string::npos) sent.push_back(line.substr(at + 3));
    }
    EXPECT_EQ(sent, commands);
}

TEST_F(CheckServerProgram, tellsInWordsAndAsJsonAndByItsExitCode) {
    const auto good = runHost({"check-server", name_, "--json"});
    EXPECT_EQ(good.code, 0) << good.errors.constData();
    const auto document = QJsonDocument::fromJson(good.output).object();
    EXPECT_EQ(document.value("conclusion").toString(), "The plugin can work with this server.");
    EXPECT_GT(document.value("replyTimes").toObject().value("count").toInt(), 10);
    Program bad(VELMORA_SWITCH_SERVER, {"--no-announce", "--fault", "double@GET"});
    const auto problem = runHost({"check-server", placeOf(bad)});
    EXPECT_EQ(problem.code, 1);
    EXPECT_TRUE(problem.output.contains("problem  segments  GET 1 was answered by more than a line"))
        << problem.output.constData();
    EXPECT_EQ(runHost({"check-server", "127.0.0.1:9"}).code, 3);
    EXPECT_EQ(runHost({"check-server", "Nobody", "--wait", "0.5"}).code, 3);
    EXPECT_EQ(runHost({"check-server", "127.0.0.1:70000"}).code, 2);
    const QString rack = writeSettings("Rack:1", {});
    const auto absent = runHost({"check-server", "--settings", rack, "--wait", "0.5"});
    EXPECT_TRUE(absent.errors.contains("the switch server \"Rack:1\" was not found")) << absent.errors.constData();
    EXPECT_EQ(runHost({"check-server"}).code, 2);
    EXPECT_EQ(runHost({"check-server", name_, "--set", "1-2"}).code, 2);
}

TEST_F(CheckServerProgram, aSignalWaitsUntilTheRouteIsBackAndAllIsTold) {
    Program slow(VELMORA_SWITCH_SERVER, {"--no-announce", "--verbose", "--fault", "delay=1500@SET#2"});
    Program check(VELMORA_HOST, {"check-server", placeOf(slow), "--set", "1"});
    EXPECT_NE(slow.outputLineWith("< SET 1 2"), "");
    check.sendSignal(SIGINT);
    EXPECT_TRUE(check.errorLine().find("interrupted; the route is put back") != std::string::npos);
    const std::string told = check.output();
    EXPECT_NE(told.find("problem  times     SET 1 2 was answered after"), std::string::npos) << told;
    EXPECT_NE(slow.outputLineWith("< SET 1 1"), "");
    siginfo_t end{};
    waitid(P_PID, static_cast<id_t>(check.id()), &end, WEXITED | WNOWAIT);
    EXPECT_TRUE(end.si_code == CLD_KILLED && end.si_status == SIGINT);
}

}  // namespace velmora::test
