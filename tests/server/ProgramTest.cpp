// The program as a user meets it: command line, first lines, signals, exit codes.
#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <deque>
#include <filesystem>
#include <fstream>
#include <set>

#include "platform/network/NSNetServiceBrowser.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/MainLoop.h"
#include "tests/support/Sockets.h"

namespace velmora {
namespace {

using test::TestClient;

struct Program : test::ChildProcess {
    using ChildProcess::ChildProcess;
    // The port in the first line.
    std::uint16_t port() {
        const std::string expected = "listening on 127.0.0.1:";
        const std::string first = outputLine();
        EXPECT_EQ(first.substr(0, expected.size()), expected);
        return static_cast<std::uint16_t>(std::stoi("0" + first.substr(std::min(first.size(), expected.size()))));
    }
};

std::vector<std::string> server(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), VELMORA_SWITCH_SERVER);
    return arguments;
}

void writeFile(const std::filesystem::path& path, std::string_view text) {
    std::ofstream(path) << text;
}

struct Seen : NSNetServiceBrowserDelegate {
    Seen() {
        browser.setDelegate(this);
        browser.searchForServicesOfTypeInDomain("_matrixswitcher._tcp.", "");
    }
    void netServiceBrowserDidFindServiceMoreComing(NSNetServiceBrowser&, const std::shared_ptr<NSNetService>& service,
                                                   bool) override {
        names.insert(service->name());
    }
    void netServiceBrowserDidRemoveServiceMoreComing(NSNetServiceBrowser&, const std::shared_ptr<NSNetService>& service,
                                                     bool) override {
        names.erase(service->name());
    }

    std::set<std::string> names;
    NSNetServiceBrowser browser;
};

TEST(Program, IsAnnouncedUntilASignalEndsItInOrder) {
    for (const int signal : {SIGTERM, SIGINT}) {
        const std::string name = "Halle \"" + std::to_string(signal) + "\"\tNord";
        const Seen seen;
        Program program(server({"--name", name}));
        TestClient client(program.port());
        EXPECT_EQ(program.outputLine(), "announced as \"Halle \"" + std::to_string(signal) + "\"\\tNord\"");
        EXPECT_TRUE(test::runMainLoopUntil([&] { return seen.names.contains(name); }));
        EXPECT_EQ(client.exchange("MATRIXSIZE"), "16x8\r\n");
        program.sendSignal(signal);
        EXPECT_TRUE(test::runMainLoopUntil([&] { return !seen.names.contains(name); }));
        EXPECT_EQ(client.receiveAll(), "");
        EXPECT_EQ(program.exitCode(), 0);
        EXPECT_EQ(program.errors(), "");
    }
}

TEST(Program, RefusesAWrongCommandLineAndSaysWhatToDo) {
    const QTemporaryDir directory;
    const std::string folder = directory.path().toStdString();
    const std::string damaged = folder + "/damaged.json";
    writeFile(damaged, "{");
    const test::RefusingPort taken;
    const std::tuple<std::vector<std::string>, int, const char*> table[] = {
        {{"--inputs", "0"}, 2, "--inputs takes a number from 1 to 65536, not \"0\""},
        {{"--port", "65536"}, 2, "--port takes a number from 0 to 65535"},
        {{"--address", "localhost"}, 2, "such as 127.0.0.1"},
        {{"--interface", "lo", "--interface", "nosuch0"}, 2, "this machine has lo"},
        {{"--name", std::string(64, 'n')}, 2, "--name takes 1 to 63 bytes"},
        {{"nonsense"}, 2, "\"nonsense\" is not an option"},
        {{"--state", damaged}, 2, "it is damaged at byte"},
        {{"--labels", damaged}, 2, "it is damaged at byte"},
        {{"--labels", folder + "/none"}, 2, "No such file"},
        {{"--state", folder + "/none/state"}, 2, "No such file"},
        {{"--port", std::to_string(taken.port()), "--state", folder + "/state"}, 1, "Choose another --port"},
        {{"--labels", damaged, "--state", folder + "/state"}, 2, "it is damaged at byte"},
        {{"--fault", "delay=5", "--fault", "silense@GET"},
         2,
         "--fault silense@GET: \"silense\" is no fault; there are "},
    };
    for (const auto& [arguments, exitCode, message] : table) {
        Program program(server(arguments));
        ASSERT_EQ(program.exitCode(), exitCode) << message;
        EXPECT_NE(program.errors().find(message), std::string::npos) << message;
        EXPECT_FALSE(std::filesystem::exists(folder + "/state")) << message;
    }
    EXPECT_EQ(Program(server({"--help"})).exitCode(), 0);
}

TEST(Program, ServesAndEndsAlthoughNobodyReadsWhatItPrints) {
    Program program(server({"--no-announce", "--verbose", "--fault", "wrong=NEVER@SET#2"}));
    TestClient client(program.port());
    const std::string longLine(1000, 'x');
    const auto fill = [&] {
        for (int line = 0; line < 1000; ++line)
            ASSERT_EQ(client.exchange(longLine), "ERROR\r\n");
    };
    fill();
    EXPECT_EQ(client.exchange("SET 1 2"), "OK\r\n");
    EXPECT_EQ(client.exchange("SET 1 2"), "NEVER\r\n");
    std::string line;
    do
        line = program.outputLine();
    while (!line.empty() && line.find("lines are left out here") == std::string::npos);
    EXPECT_NE(line, "");
    EXPECT_EQ(client.exchange("GET 1"), "1 2\r\n");
    line = program.outputLine();
    EXPECT_TRUE(line.ends_with(" < GET 1")) << line;
    fill();
    program.sendSignal();
    EXPECT_EQ(program.exitCode(), 0);
}

TEST(Program, KeepsItsStateAndTakesLabelsFromAFile) {
    const QTemporaryDir directory;
    const std::string folder = directory.path().toStdString();
    writeFile(folder + "/labels.json", "{\"inputs\": [\"Kamera\\r\\n1\"], \"routes\": [5, 5]}");
    std::vector<std::string> arguments{"--no-announce",        "--verbose", "--state",
                                       folder + "/state.json", "--labels",  folder + "/labels.json"};
    for (const char* route : {"2 2", "2 7"}) {
        Program program(server(arguments));
        TestClient client(program.port());
        EXPECT_EQ(client.exchange("GET 2"), std::string(route) + "\r\n");
        EXPECT_TRUE(program.outputLine().ends_with(" < GET 2"));
        EXPECT_TRUE(program.outputLine().ends_with(std::string(" > ") + route));
        EXPECT_EQ(client.exchange("INPUTLABEL 1"), "Kamera  1\r\n");
        EXPECT_EQ(client.exchange("SET 2 7"), "OK\r\n");
        program.sendSignal();
        EXPECT_EQ(program.exitCode(), 0);
        // The labels are in the state by now.
        arguments.resize(4);
    }
}

TEST(Program, ServesNewClientsWhenItsDescriptorsSufficeAgain) {
    Program program({"/bin/sh", "-c", "ulimit -n 40; exec \"$0\" --no-announce", VELMORA_SWITCH_SERVER});
    const std::uint16_t port = program.port();
    std::deque<TestClient> clients;
    clients.emplace_back(port);
    EXPECT_EQ(clients.front().exchange("GET 1"), "1 1\r\n");
    while (clients.size() < 60) {
        clients.emplace_back(port);
        ASSERT_TRUE(clients.back().connected());
    }
    EXPECT_NE(program.errorLine().find("new ones wait until others leave"), std::string::npos);
    EXPECT_EQ(clients.front().exchange("GET 2"), "2 2\r\n");
    while (clients.size() > 20)
        clients.pop_front();
    for (TestClient& waiting : clients)
        ASSERT_EQ(waiting.exchange("GET 1"), "1 1\r\n");
    program.sendSignal();
    EXPECT_EQ(program.exitCode(), 0);
}

}  // namespace
}  // namespace velmora
