// The control socket, as a script and the clients of the switch meet it.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <deque>
#include <filesystem>
#include <fstream>

#include "platform/foundation/Text.h"
#include "tests/server/ServerProcess.h"
#include "tests/support/ServiceWatch.h"

namespace velmora::test {
namespace {

const std::string kDone = R"({"ok":true})";

class Script : public Socket {
  public:
    explicit Script(const std::string& path) : Socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::ranges::copy(path, address.sun_path);
        EXPECT_EQ(::connect(descriptor(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    }
    // The next line, without its end; empty at the end.
    std::string line() {
        while (received_.find('\n') == std::string::npos) {
            const std::string more = receive(65536, 0);
            if (more.empty()) return "";
            received_ += more;
        }
        const std::string line = received_.substr(0, received_.find('\n'));
        received_.erase(0, line.size() + 1);
        EXPECT_EQ(stringByEscapingControlCharacters(line), line) << "a terminal would obey it";
        return line;
    }
    std::string ask(const std::string& request) { return send(request + "\n") ? line() : "not sent"; }
    // The next event of this kind, without its time.
    std::string event(const QString& kind) {
        for (;;) {
            const std::string next = line();
            QJsonObject event = QJsonDocument::fromJson(QByteArray::fromStdString(next)).object();
            if (next.empty() || event["event"] != kind) {
                if (next.empty()) return "";
                continue;
            }
            EXPECT_EQ(event.take("time").toString().size(), 24);
            event.remove("event");
            event.remove("client");
            return QJsonDocument(event).toJson(QJsonDocument::Compact).toStdString();
        }
    }

  private:
    std::string received_;
};

class ControlTest : public testing::Test {
  protected:
    std::vector<std::string> arguments(std::vector<std::string> more = {"--no-announce"}) const {
        more.insert(more.begin(), {"--inputs", "4", "--outputs", "3", "--control", path_});
        return server(more);
    }
    const QTemporaryDir folder_;
    const std::string path_ = folder_.filePath("control").toStdString();
};

TEST_F(ControlTest, changesTheMatrixAsAnotherPanelWouldAndKeepsIt) {
    const std::vector<std::string> command =
        arguments({"--no-announce", "--state", folder_.filePath("state").toStdString()});
    const std::string labels = R"("inputs":["Input 1","Kamera \"ü\"","Input 3","\uFEFFx"],)";
    {
        Program program(command);
        TestClient client(program.port());
        Script script(path_);
        Script watcher(path_);
        EXPECT_EQ(watcher.ask(R"({"subscribe":true})"), kDone);
        EXPECT_EQ(client.exchange("SET 1 3"), "OK\r\n");
        EXPECT_EQ(script.ask(R"({"id":7,"routes":{"1":4,"2":1},"inputs":{"2":"Kamera \"ü\""},"outputs":["A"]})"),
                  R"({"id":7,"ok":true})");
        EXPECT_EQ(script.ask("{\"inputs\":{\"4\":\"\uFEFFx\"}}"), kDone);
        EXPECT_EQ(client.exchange("INPUTLABEL 4"), "\uFEFFx\r\n");
        EXPECT_EQ(client.exchange("GET 1"), "1 4\r\n");
        EXPECT_EQ(client.exchange("INPUTLABEL 2"), "Kamera \"ü\"\r\n");
        EXPECT_NE(watcher.event("route").find(R"({"by":"127.0.0.1:)"), std::string::npos);
        EXPECT_EQ(watcher.event("command"), R"({"line":"SET 1 3","reply":"OK"})");
        EXPECT_EQ(watcher.event("label"), R"({"by":"control","input":2,"label":"Kamera \"ü\""})");
        EXPECT_EQ(watcher.event("label"), R"({"by":"control","label":"A","output":1})");
        EXPECT_EQ(watcher.event("route"), R"({"by":"control","input":4,"output":1})");
        EXPECT_EQ(watcher.event("route"), R"({"by":"control","input":1,"output":2})");
        EXPECT_EQ(watcher.event("command"), "{\"line\":\"INPUTLABEL 4\",\"reply\":\"\uFEFFx\"}");
        EXPECT_EQ(watcher.event("command"), R"({"line":"GET 1","reply":"1 4"})");
        EXPECT_EQ(client.exchange("GET \u009B31m\x7F\u202E"), "ERROR\r\n");
        EXPECT_EQ(watcher.event("command"), R"({"line":"INPUTLABEL 2","reply":"Kamera \"ü\""})");
        EXPECT_EQ(watcher.event("command"), "{\"line\":\"GET \u009B31m\x7F\u202E\",\"reply\":\"ERROR\"}");
        EXPECT_EQ(script.ask(R"({"outputs":{"3":"\u202E"}})"), kDone);
    }
    Program program(command);
    program.port();
    EXPECT_EQ(Script(path_).ask(R"({"dump":true,"id":"x"})"),
              R"({"announced":false,"clients":[],"faults":[],"id":"x",)" + labels +
                  R"("name":null,"ok":true,"outputs":["A","Output 2","\u202E"],"routes":[4,1,3],)"
                  R"("size":{"inputs":4,"outputs":3}})");
}

TEST_F(ControlTest, refusesWhatIsWrongAndThenDoesNothing) {
    Program program(arguments());
    program.port();
    Script script(path_);
    const std::string before = script.ask(R"({"dump":true})");
    const std::pair<std::string, const char*> table[] = {
        {R"({"routes":{"1":2,"4":1}})", "there is no output 4; the matrix has 3 outputs"},
        {R"({"routes":{"1":5}})", "there is no input 5"},
        {R"({"routes":{"0":1}})", "there is no output 0"},
        {R"({"routes":{"01":2}})", "not a number"},
        {R"({"routes":{"1":"2"}})", "takes the number of an input"},
        {R"({"routes":[2,2,2,2]})", "there is no output 4"},
        {R"({"routes":7})", "takes a list"},
        {R"({"routes":{"1":2},"inputs":{"1":"a\nb"}})", "input 1 holds a control character"},
        {R"({"outputs":["\u0085"]})", "output 1 holds a control"},
        {R"({"outputs":["\ud800"]})", "item 1 takes a text"},
        {R"({"inputs":{"1":")" + std::string(1025, 'x') + "\"}}", "longer than 1024 bytes"},
        {R"({"routes":{"1":2},"faults":["silense"]})", "item 1: \\\"silense\\\" is not a fault"},
        {R"({"routes":{"1":2},"announced":true})", "--no-announce"},
        {R"({"routes":{"1":2},"drop":true})", "takes \\\"close\\\" or \\\"reset\\\""},
        {R"({"rotes":{"1":2}})", "did you mean \\\"routes\\\"?"},
        {R"({"dump":1})", "takes true or false"},
        {R"({"id":[1],"routes":{"1":2}})", "takes a text or a number"},
        {R"({"id":1})", "asks for nothing"},
        {"[1]", "not a JSON object"},
        {"", "not JSON"},
        {R"({"routes":{"1":2})", "not JSON"},
        {std::string(5000, '['), "not JSON"},
        {"{\"inputs\":[\"\xC3\"]}", "not UTF-8"},
        {std::string(1 << 20, ' ') + " {}", "longer than 1048576 bytes"},
        {std::string(5 << 20, 'x'), "longer than 1048576 bytes"},
    };
    for (const auto& [request, reason] : table) {
        const std::string reply = script.ask(request);
        EXPECT_TRUE(reply.starts_with(R"({"error":)") && reply.find(reason) != std::string::npos) << reply;
    }
    EXPECT_EQ(script.ask(R"({"dump":true})"), before);
    // Many at once are answered in order, also when their replies are not read and the script has said all it has to.
    std::string burst;
    for (int id = 0; id < 10'000; ++id) {
        burst += R"({"dump":true,"id":)" + std::to_string(id) + "}\n";
    }
    burst.pop_back();  // the end of the last line, which may be missing
    std::thread sending([&] {
        EXPECT_TRUE(script.send(burst));
        ::shutdown(script.descriptor(), SHUT_WR);
    });
    for (int id = 0; id < 10'000; ++id) {
        ASSERT_NE(script.line().find(R"("id":)" + std::to_string(id) + ","), std::string::npos);
    }
    sending.join();
    EXPECT_EQ(script.line(), "");
    std::deque<Script> scripts;
    for (int i = 0; i < 16; ++i) {
        EXPECT_EQ(scripts.emplace_back(path_).ask(R"({"dump":true})"), before);
    }
    EXPECT_NE(Script(path_).line().find("16 programs control the server already"), std::string::npos);
    scripts.pop_front();
    EXPECT_TRUE(runMainLoopUntil([&] { return Script(path_).ask(R"({"dump":true})") == before; }));
}

TEST_F(ControlTest, switchesFaultsAndDropsClientsWithoutARestart) {
    Program program(arguments());
    const std::uint16_t port = program.port();
    Script script(path_);
    Script watcher(path_);
    TestClient client(port);
    EXPECT_EQ(client.exchange("GET 1"), "1 1\r\n");
    EXPECT_EQ(watcher.ask(R"({"subscribe":true})"), kDone);
    EXPECT_EQ(script.ask(R"({"faults":["wrong=HUH@GET","silence@SET"]})"), kDone);
    EXPECT_EQ(client.exchange("GET 1"), "HUH\r\n");
    client.send("SET 1 2\n");
    EXPECT_EQ(watcher.event("command"), R"({"fault":true,"line":"GET 1","reply":"HUH"})");
    EXPECT_EQ(watcher.event("command"), R"({"fault":true,"line":"SET 1 2","reply":null})");
    EXPECT_NE(script.ask(R"({"dump":true})").find(R"("faults":["wrong=HUH@GET","silence@SET"])"), std::string::npos);
    EXPECT_EQ(script.ask(R"({"faults":["stop-reading"]})"), kDone);
    EXPECT_EQ(client.exchange("GET 1"), "1 2\r\n");
    EXPECT_EQ(script.ask(R"({"faults":["no-accept"],"drop":"reset"})"), R"({"dropped":1,"ok":true})");
    EXPECT_EQ(client.receiveAll(), "reset");
    EXPECT_EQ(watcher.event("clientGone"), "{}");
    TestClient next(port);
    next.send("GET 1\n");
    EXPECT_EQ(script.ask(R"({"faults":[]})"), kDone);
    EXPECT_EQ(next.receive(5), "1 2\r\n");
    EXPECT_EQ(watcher.event("clientCame"), "{}");
    EXPECT_EQ(script.ask(R"({"drop":"close"})"), R"({"dropped":1,"ok":true})");
    EXPECT_EQ(next.receiveAll(), "");
    EXPECT_NE(script.ask(R"({"dump":true})").find(R"("clients":[])"), std::string::npos);
}

void limit(const Program& program, __rlimit_resource resource, rlim_t number) {
    rlimit limit{};
    EXPECT_EQ(prlimit(program.id(), resource, nullptr, &limit), 0);
    limit.rlim_cur = number;
    EXPECT_EQ(prlimit(program.id(), resource, &limit, nullptr), 0);
}

TEST_F(ControlTest, leavesAndRejoinsTheNetwork) {
    const ServiceWatch seen;
    Program program(arguments({"--name", "Halle"}));
    TestClient client(program.port());
    Script script(path_);
    Script watcher(path_);
    EXPECT_EQ(watcher.ask(R"({"subscribe":true})"), kDone);
    EXPECT_NE(program.outputLineWith("announced as"), "");
    EXPECT_TRUE(runMainLoopUntil([&] { return seen.services.contains("Halle"); }));
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(script.ask(R"({"announced":false})"), kDone);
        EXPECT_EQ(watcher.event("withdrawn"), R"({"name":"Halle"})");
        EXPECT_TRUE(runMainLoopUntil([&] { return !seen.services.contains("Halle"); }));
        EXPECT_EQ(client.exchange("GET 1"), "1 1\r\n");
        // The second time without descriptors for it at first.
        if (round == 1) limit(program, RLIMIT_NOFILE, 12);
        EXPECT_EQ(script.ask(R"({"announced":true})"), kDone);
        if (round == 1) {
            EXPECT_NE(watcher.event("notAnnounced").find("descriptors"), std::string::npos);
            limit(program, RLIMIT_NOFILE, 1024);
        }
        EXPECT_EQ(watcher.event("announced"), R"({"name":"Halle"})");
        EXPECT_TRUE(runMainLoopUntil([&] { return seen.services.contains("Halle"); }));
    }
}

TEST_F(ControlTest, aSubscriberThatDoesNotReadHoldsNobodyUpAndIsToldWhatItMissed) {
    Program program(arguments());
    TestClient client(program.port());
    Script deaf(path_);
    EXPECT_EQ(deaf.ask(R"({"subscribe":true})"), kDone);
    const std::string longLine(1000, 'x');
    constexpr int kLines = 5000;
    for (int line = 0; line < kLines; ++line) {
        ASSERT_EQ(client.exchange(longLine), "ERROR\r\n");
    }
    EXPECT_NE(Script(path_).ask(R"({"dump":true})").find(R"("ok":true)"), std::string::npos);
    int events = 0;
    int leftOut = 0;
    while (events + leftOut < kLines) {
        const std::string line = deaf.line();
        ASSERT_FALSE(line.empty());
        if (line.find(R"("line":"xxx)") != std::string::npos) ++events;
        std::sscanf(line.c_str(), R"({"count":%d,"event":"leftOut")", &leftOut);
    }
    EXPECT_GT(leftOut, 1000);
    EXPECT_EQ(client.exchange("GET 1"), "1 1\r\n");
    EXPECT_EQ(deaf.event("command"), R"({"line":"GET 1","reply":"1 1"})");
}

// A sanitizer ends a program that has no memory.
#if !defined(VELMORA_SANITIZED)
TEST_F(ControlTest, aDumpThatIsTooLargeForTheMemoryIsRefused) {
    constexpr int kLabels = 4000;
    const std::string label(1000, 'x'), labels = folder_.filePath("labels").toStdString();
    std::ofstream file(labels);
    for (int number = 0; number < kLabels; ++number) {
        file << (number == 0 ? R"({"inputs":[")" : R"(",")") << label;
    }
    file << R"("]})" << std::flush;
    Program program(
        server({"--no-announce", "--inputs", std::to_string(kLabels), "--labels", labels, "--control", path_}));
    TestClient client(program.port());
    EXPECT_EQ(client.exchange("GET 1"), "1 1\r\n");
    std::ifstream usage("/proc/" + std::to_string(program.id()) + "/statm");
    rlim_t pages = 0;
    usage >> pages;
    limit(program, RLIMIT_AS, pages * static_cast<rlim_t>(getpagesize()) + (16 << 20));
    // None is read to its end before all are asked for.
    std::deque<Script> scripts;
    for (int number = 0; number < 16; ++number) {
        EXPECT_TRUE(scripts.emplace_back(path_).send("{\"dump\":true}\n"));
    }
    int refused = 0;
    for (Script& script : scripts) {
        const std::string reply = script.line();
        if (reply.find("there is no memory for a dump now") != std::string::npos) {
            ++refused;
        } else {
            EXPECT_EQ(reply.find("\"" + label + "\"]"), reply.find("],\"name\"") - label.size() - 2);
            EXPECT_GT(reply.size(), kLabels * label.size());
            EXPECT_TRUE(reply.starts_with("{\"announced\"") && reply.ends_with("}}"));
        }
    }
    EXPECT_GT(refused, 0);
    EXPECT_LT(refused, 16);
    EXPECT_EQ(client.exchange("GET 1"), "1 1\r\n");
}
#endif

TEST_F(ControlTest, doesWhatTheReadmeShows) {
    const auto inFolder = [this](const std::string& command) {
        return std::vector<std::string>{"/bin/sh", "-c",
                                        "cd '" + folder_.path().toStdString() + "' && exec " + command};
    };
    std::filesystem::create_symlink(VELMORA_SOURCE_FOLDER "/scripts", folder_.filePath("scripts").toStdString());
    std::ifstream readme(VELMORA_SOURCE_FOLDER "/README.md");
    const std::string start = "$ velmora-switch-server --inputs 4";
    std::string line;
    while (std::getline(readme, line) && !line.starts_with(start)) {
    }
    Program program(inFolder(VELMORA_SWITCH_SERVER + line.substr(line.find(" --"))));
    program.port();
    std::string shown;
    std::string replies;
    while (std::getline(readme, line) && line != "```") {
        if (line.starts_with("$ ")) replies += ChildProcess(inFolder(line.substr(2))).output();
        if (line.starts_with("{")) shown += line + "\n";
    }
    EXPECT_NE(shown, "");
    EXPECT_EQ(replies, shown);
}

TEST_F(ControlTest, hasASocketOfItsOwnAndReplacesOneThatIsLeftOver) {
    Program killed(arguments());
    killed.port();
    struct stat status {};
    EXPECT_EQ(lstat(path_.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, static_cast<mode_t>(S_IFSOCK | 0600));
    const std::string file = folder_.filePath("file").toStdString();
    std::ofstream(file) << "precious";
    const std::pair<std::string, const char*> refused[] = {
        {path_, "another program has it in use"},
        {file, "something else than a socket has that name"},
        {folder_.filePath("none/control").toStdString(), "No such file"},
        {"/" + std::string(107, 'x'), "its name has 108 bytes, and a socket's has at most 107"},
        {"", "--control needs the name of a file"}};
    for (const auto& [path, reason] : refused) {
        Program program(server({"--no-announce", "--control", path}));
        EXPECT_EQ(program.exitCode(), 2);
        EXPECT_NE(program.errors().find(reason), std::string::npos) << reason;
    }
    EXPECT_EQ(std::filesystem::file_size(file), 8U);
    EXPECT_EQ(killed.exitCodeAfterSignal(SIGKILL), -1);
    EXPECT_TRUE(std::filesystem::is_socket(path_));
    Program program(arguments());
    program.port();
    EXPECT_EQ(Script(path_).ask(R"({"faults":[]})"), kDone);
    EXPECT_EQ(program.exitCodeAfterSignal(), 0);
    EXPECT_FALSE(std::filesystem::exists(path_));
}

}  // namespace
}  // namespace velmora::test
