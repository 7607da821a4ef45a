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
#include "tests/support/ScriptedPeer.h"
#include "tests/support/TestClient.h"

namespace velmora {
namespace {

using test::TestClient;

class Program : public test::ChildProcess {
  public:
    explicit Program(const std::vector<std::string>& arguments, const std::string& runner = {})
        : ChildProcess(commandLine(arguments, runner)) {}
    // The port in the first line.
    std::uint16_t port() {
        const std::string expected = "listening on 127.0.0.1:";
        const std::string first = outputLine();
        EXPECT_EQ(first.substr(0, expected.size()), expected);
        return static_cast<std::uint16_t>(std::stoi("0" + first.substr(std::min(first.size(), expected.size()))));
    }

  private:
    // With a runner, a line for the shell that ends by becoming the program.
    static std::vector<std::string> commandLine(const std::vector<std::string>& arguments, const std::string& runner) {
        std::vector<std::string> command{VELMORA_SWITCH_SERVER};
        if (!runner.empty()) command = {"/bin/sh", "-c", runner + "exec \"$0\" \"$@\"", VELMORA_SWITCH_SERVER};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return command;
    }
};

void writeFile(const std::filesystem::path& path, std::string_view text) {
    std::ofstream(path) << text;
}

class Seen : public NSNetServiceBrowserDelegate {
  public:
    Seen() {
        browser_.setDelegate(this);
        browser_.searchForServicesOfTypeInDomain("_matrixswitcher._tcp.", "");
    }
    bool sees(const std::string& name) const { return names_.contains(name); }

  private:
    void netServiceBrowserDidFindServiceMoreComing(NSNetServiceBrowser&, const std::shared_ptr<NSNetService>& service,
                                                   bool) override {
        names_.insert(service->name());
    }
    void netServiceBrowserDidRemoveServiceMoreComing(NSNetServiceBrowser&, const std::shared_ptr<NSNetService>& service,
                                                     bool) override {
        names_.erase(service->name());
    }

    std::set<std::string> names_;
    NSNetServiceBrowser browser_;
};

TEST(Program, IsAnnouncedUntilASignalEndsItInOrder) {
    for (const int signal : {SIGTERM, SIGINT}) {
        const std::string name = "Halle \"" + std::to_string(signal) + "\"\tNord";
        const Seen seen;
        Program program({"--name", name});
        TestClient client(program.port());
        EXPECT_EQ(program.outputLine(), "announced as \"Halle \"" + std::to_string(signal) + "\"\\tNord\"");
        EXPECT_TRUE(test::runMainLoopUntil([&] { return seen.sees(name); }));
        EXPECT_EQ(client.exchange("MATRIXSIZE"), "16x8\r\n");
        program.sendSignal(signal);
        EXPECT_TRUE(test::runMainLoopUntil([&] { return !seen.sees(name); }));
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
    const struct {
        std::vector<std::string> arguments;
        int exitCode;
        const char* message;
    } table[] = {
        {{"--inputs", "0"}, 2, "--inputs takes a number from 1 to 65536, not \"0\""},
        {{"--inputs", "16x"}, 2, "--inputs takes"},
        {{"--port", "65536"}, 2, "--port takes a number from 0 to 65535"},
        {{"--address", "localhost"}, 2, "such as 127.0.0.1"},
        {{"--interface", "lo", "--interface", "nosuch0"}, 2, "this machine has lo"},
        {{"--name", std::string(64, 'n')}, 2, "--name takes 1 to 63 bytes"},
        {{"--nonsense"}, 2, "--help"},
        {{"nonsense"}, 2, "\"nonsense\" is not an option"},
        {{"--state", damaged}, 2, "it is damaged at byte"},
        {{"--labels", damaged}, 2, "it is damaged at byte"},
        {{"--labels", folder + "/none"}, 2, "No such file"},
        {{"--state", folder + "/none/state"}, 2, "No such file"},
        {{"--port", std::to_string(taken.port())}, 1, "Choose another --port"},
    };
    for (const auto& row : table) {
        Program program(row.arguments);
        ASSERT_EQ(program.exitCode(), row.exitCode) << row.message;
        EXPECT_NE(program.errors().find(row.message), std::string::npos) << row.message;
    }
    Program help({"--help"});
    EXPECT_EQ(help.exitCode(), 0);
    EXPECT_EQ(help.errors(), "");
}

TEST(Program, KeepsItsStateAndTakesLabelsFromAFile) {
    const QTemporaryDir directory;
    const std::string folder = directory.path().toStdString();
    writeFile(folder + "/labels.json", "{\"inputs\": [\"Kamera\\r\\n1\"], \"routes\": [5, 5]}");
    std::vector<std::string> arguments{"--no-announce",        "--verbose", "--state",
                                       folder + "/state.json", "--labels",  folder + "/labels.json"};
    for (const char* route : {"2 2", "2 7"}) {
        Program program(arguments);
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
    Program program({"--no-announce"}, "ulimit -n 40; ");
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
