// The program as a user meets it: command line, first lines, signals, exit codes.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <QDir>
#include <QTemporaryDir>
#include <deque>
#include <filesystem>
#include <fstream>

#include "server/MatrixFile.h"
#include "tests/server/ServerProcess.h"
#include "tests/support/ServiceWatch.h"

namespace velmora::test {
namespace {

TEST(Program, isAnnouncedUntilASignalEndsItInOrder) {
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        const std::string name = "Halle \"" + std::to_string(signal) + "\"\tNord";
        const ServiceWatch seen;
        Program program(server({"--name", name}));
        TestClient client(program.port());
        EXPECT_EQ(program.outputLine(), "announced as \"Halle \"" + std::to_string(signal) + "\"\\tNord\"");
        EXPECT_TRUE(runMainLoopUntil([&] { return seen.services.contains(name); }));
        EXPECT_EQ(client.exchange("MATRIXSIZE"), "16x8\r\n");
        program.sendSignal(signal);
        program.sendSignal(signal);  // in a hurry
        EXPECT_TRUE(runMainLoopUntil([&] { return !seen.services.contains(name); }));
        EXPECT_EQ(client.receiveAll(), "");
        EXPECT_EQ(program.exitCode(), 0);
        EXPECT_EQ(program.errors(), "");
    }
}

TEST(Program, refusesAWrongCommandLineAndSaysWhatToDo) {
    const QTemporaryDir directory;
    const std::string folder = directory.path().toStdString();
    const std::string damaged = folder + "/damaged.json";
    std::ofstream(damaged) << "{";
    const std::string pipe = folder + "/pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const RefusingPort taken;
    const std::tuple<std::vector<std::string>, int, const char*> table[] = {
        {{"--inputs", "0"}, 2, "--inputs takes a number from 1 to 65536, not \"0\""},
        {{"--port", "65536"}, 2, "--port takes a number from 0 to 65535"},
        {{"--address", "localhost"}, 2, "such as 127.0.0.1"},
        {{"--interface", "lo", "--interface", "nosuch0"}, 2, "this machine has lo"},
        {{"--name", std::string(64, 'n')}, 2, "--name takes 1 to 63 bytes"},
        {{"nonsense"}, 2, "\"nonsense\" is not an option"},
        {{"--inptus", "4"}, 2, "'inptus' (did you mean --inputs?). See"},
        {{"--\x1B[2J\u009B"}, 2, "'\\x1B[2J\\u{009B}'"},
        {{"--labels", "\x1B[2J"}, 2, "file \\x1B[2J: No such file"},
        {{"--labels", pipe}, 2, "it is a pipe, not a file"},
        {{"--state", pipe}, 2, "it is a pipe, not a file"},
        {{"--state", folder + "/\xFF"}, 2, "an argument is not UTF-8: "},
        {{"--state", damaged}, 2, "it is damaged at byte"},
        {{"--state", folder + "/none/state"}, 2, "No such file"},
        {{"--port", std::to_string(taken.port()), "--state", folder + "/state"}, 1, "Choose another --port"},
        {{"--labels", damaged, "--state", folder + "/state"}, 2, "it is damaged at byte"},
        {{"--fault", "delay=5", "--fault", "silense"}, 2, "silense: \"silense\" is not a fault; there are delay,"},
        {{"--fault", ""}, 2, "\"\" is not a fault"},
        {{"--fault", "silence=1"}, 2, "silence takes no argument"},
        {{"--fault", "delay"}, 2, "delay takes a number from 1 to 600000"},
        {{"--fault", "delay=1s@GET"}, 2, "not \"1s\""},
        {{"--fault", "silence@get"}, 2, "\"get\" is not a command; there are MATRIXSIZE, GET, SET"},
        {{"--fault", "silence@GET#0"}, 2, "# takes a number from 1 on, not \"0\""},
        {{"--fault", "mute@GET"}, 2, "mute concerns a whole connection"},
    };
    for (const auto& [arguments, exitCode, message] : table) {
        Program program(server(arguments));
        ASSERT_EQ(program.exitCode(), exitCode) << message;
        EXPECT_NE(program.errors().find(message), std::string::npos) << message;
        EXPECT_FALSE(std::filesystem::exists(folder + "/state")) << message;
    }
    EXPECT_EQ(Program(server({"-h"})).exitCode(), 0);
    EXPECT_EQ(Program(shell("exec \"$0\" --help >/dev/full")).exitCode(), 1);
}

TEST(Program, listensWhereTheAnnouncementLeadsAndSaysWhereItDoesNot) {
    const ServiceWatch watcher;
    for (const auto& options :
         {std::vector<std::string>{"--name", "Default"}, {"--name", "Chosen", "--interface", "lo"}}) {
        Program program(server(options));
        program.port();
        const auto resolved = "resolved " + options[1];
        ASSERT_TRUE(runMainLoopUntil([&] { return std::ranges::count(watcher.events, resolved) == 1; }));
        for (const SocketAddress& address : watcher.services.at(options[1])->addresses()) {
            const Socket client(socket(address.family(), SOCK_STREAM | SOCK_CLOEXEC, 0));
            EXPECT_EQ(connect(client.descriptor(), address.get(), address.length()), 0) << address.text();
        }
    }
    Program elsewhere(server({"--address", "127.0.0.2"}));
    EXPECT_NE(elsewhere.errorLine().find("announced on lo, which 127.0.0.2 is no address of"), std::string::npos);
    EXPECT_EQ(elsewhere.outputLine().find("listening on 127.0.0.2:"), 0U);
    Program everywhere(server({"--address", "::"}));
    EXPECT_NE(everywhere.outputLineWith("announced"), "");
    EXPECT_EQ(everywhere.exitCodeAfterSignal(), 0);
    EXPECT_EQ(everywhere.errors(), "");
}

TEST(Program, keepsAStateFileAloneAndWholeWhileTheDiskIsFull) {
    const QTemporaryDir directory;
    const std::string state = directory.filePath("state.json").toStdString();
    const std::string link = directory.filePath("link").toStdString();
    Program first(server({"--no-announce", "--state", state}));
    first.port();
    std::filesystem::create_symlink(state, link);
    Program second(server({"--no-announce", "--state", link}));
    EXPECT_EQ(second.exitCode(), 2);
    EXPECT_NE(second.errors().find("another program has it in use"), std::string::npos);
    EXPECT_EQ(first.exitCodeAfterSignal(SIGKILL), -1);

    Program program(server({"--no-announce", "--state", link}));
    TestClient client(program.port());
    std::filesystem::remove(link);
    std::filesystem::create_symlink("elsewhere", link);  // and yet what was locked is kept
    const auto limitFiles = [&program](rlim_t bytes) {
        const rlimit limit{bytes, RLIM_INFINITY};
        EXPECT_EQ(prlimit(program.id(), RLIMIT_FSIZE, &limit, nullptr), 0);
    };
    const auto isKept = [&state](int input) {
        const auto kept = readMatrixFile(state);
        return kept && kept->routes[0] == input;
    };
    for (const int input : {2, 3}) {  // the second time it is trouble anew
        limitFiles(100);
        EXPECT_EQ(client.exchange("SET 1 " + std::to_string(input)), "OK\r\n");
        EXPECT_NE(program.errorLine().find("link: File too large. It is tried again"), std::string::npos);
        EXPECT_TRUE(isKept(input - 1));
        if (input == 3) break;
        limitFiles(RLIM_INFINITY);  // nothing changes any more, and yet it is written
        EXPECT_TRUE(runMainLoopUntil([&] { return isKept(2); }));
    }
    EXPECT_EQ(program.exitCodeAfterSignal(SIGHUP), 1);
    const std::string last = program.errors();
    EXPECT_TRUE(last.ends_with("may lack the last changes: File too large.\n") && std::ranges::count(last, '\n') == 1)
        << last;
    EXPECT_TRUE(isKept(2));
    EXPECT_EQ(QDir(directory.path()).entryList(QDir::Files | QDir::Hidden), QStringList{"state.json"});
}

TEST(Program, servesAndEndsAlthoughNobodyReadsWhatItPrints) {
    Program program(shell("ulimit -n 40; exec \"$0\" --no-announce --verbose --fault wrong=NEVER@SET#2 2>&1"));
    const std::uint16_t port = program.port();
    TestClient client(port);
    const std::string longLine(1000, 'x');
    const auto fill = [&] {
        for (int line = 0; line < 1000; ++line) {
            ASSERT_EQ(client.exchange(longLine), "ERROR\r\n");
        }
    };
    fill();
    std::deque<TestClient> crowd;  // of which it complains
    while (crowd.size() < 60) {
        crowd.emplace_back(port);
    }
    fill();
    crowd.clear();  // a sanitizer that looks at a pointer needs a descriptor itself
    fill();
    EXPECT_EQ(client.exchange("SET 1 2"), "OK\r\n");
    EXPECT_EQ(client.exchange("SET 1 2"), "NEVER\r\n");
    EXPECT_NE(program.outputLineWith("lines are left out here"), "");
    EXPECT_EQ(client.exchange("GET 1"), "1 2\r\n");
    EXPECT_TRUE(program.outputLineWith(" < GET 1").ends_with(" < GET 1"));
    fill();
    EXPECT_EQ(program.exitCodeAfterSignal(), 0);
}

TEST(Program, keepsItsStateEvenInALargerMatrixAndTakesLabelsFromAFile) {
    const QTemporaryDir directory;
    const std::string folder = directory.path().toStdString();
    std::ofstream(folder + "/labels.json") << R"({"inputs": ["Kamera\r\n1", ")"
                                              "\uFEFF"
                                              R"(\"Ü\" \\", ""], "routes": [5, 5]})";
    std::vector<std::string> arguments{"--no-announce", "--verbose", "--state", folder + "/state.json"};
    // The labels are in the state by the second time.
    const std::tuple<std::vector<std::string>, const char*, const char*> runs[] = {
        {{"--labels", folder + "/labels.json"}, "2 2", "ERROR"}, {{"--inputs", "17", "--outputs", "9"}, "2 7", "9 9"}};
    for (const auto& [more, route, ninth] : runs) {
        arguments.resize(4);
        arguments.insert(arguments.end(), more.begin(), more.end());
        Program program(server(arguments));
        TestClient client(program.port());
        EXPECT_EQ(client.exchange("GET 2"), std::string(route) + "\r\n");
        EXPECT_TRUE(program.outputLine().ends_with(" < GET 2"));
        EXPECT_TRUE(program.outputLine().ends_with(std::string(" > ") + route));
        EXPECT_EQ(client.exchange("GET 9"), std::string(ninth) + "\r\n");
        client.send("INPUTLABEL 1\nINPUTLABEL 2\nINPUTLABEL 3\nINPUTLABEL 4\n");
        const std::string labels = "Kamera  1\r\n\uFEFF\"Ü\" \\\r\n\r\nInput 4\r\n";
        EXPECT_EQ(client.receive(labels.size()), labels);
        for (int turn = 0; turn < 500; ++turn) {
            ASSERT_EQ(client.exchange("SET 2 " + std::to_string(turn % 16 + 1)), "OK\r\n");
        }
        EXPECT_EQ(client.exchange("SET 2 7"), "OK\r\n");
        EXPECT_EQ(program.exitCodeAfterSignal(), 0);
    }
    EXPECT_EQ(QDir(directory.path()).entryList(QDir::Files), (QStringList{"labels.json", "state.json"}));
}

TEST(Program, servesNewClientsWhenItsDescriptorsSufficeAgainAndStaysWhereHangingUpIsIgnored) {
    Program program(shell("trap '' HUP; ulimit -n 40; exec \"$0\" --no-announce"));
    const std::uint16_t port = program.port();
    program.sendSignal(SIGHUP);
    std::deque<TestClient> clients;
    clients.emplace_back(port);
    // The undefined-behaviour sanitizer, too, needs a descriptor when it meets a delegate for the first time.
    EXPECT_EQ(clients.front().exchange("GET 2"), "2 2\r\n");
    while (clients.size() < 60) {
        clients.emplace_back(port);
        ASSERT_TRUE(clients.back().connected());
    }
    EXPECT_NE(program.errorLine().find("new ones wait until others leave"), std::string::npos);
    EXPECT_EQ(clients.front().exchange("GET 2"), "2 2\r\n");
    while (clients.size() > 20) {
        clients.pop_front();
    }
    for (TestClient& waiting : clients) {
        ASSERT_EQ(waiting.exchange("GET 1"), "1 1\r\n");
    }
    EXPECT_EQ(program.exitCodeAfterSignal(), 0);
}

}  // namespace
}  // namespace velmora::test
