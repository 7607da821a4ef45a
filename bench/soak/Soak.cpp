// A long run with a server that misbehaves at random: every reply is checked against the server's own record, and
// memory, threads and descriptors must not grow. Exits with 1 at the first fault.
#include <malloc.h>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <thread>

#include "bench/soak/Record.h"
#include "platform/foundation/NSLog.h"
#include "platform/threads/NSThread.h"
#include "transport/SwitchTelnetController.h"

namespace velmora::bench {
namespace {

constexpr int kInputs = 64;
constexpr int kOutputs = 32;
constexpr TelnetTimeLimits kLimits{.reply = Seconds(1)};
constexpr double kConnectTime = 10.0;
constexpr long kPagesOfChance = 1024;

// Faults of a peer that keeps the protocol: its reply, or its silence, belongs to the command in flight.
constexpr const char* kFair[] = {"delay=5", "delay=1500", "silence", "empty", "close-before", "close-after", "reset"};
// After these nobody can tell which bytes answer what; the connection is given up.
constexpr const char* kUnfair[] = {"pieces=3", "double",     "unasked", "not-utf8", "long=2049",   "long=1048576",
                                   "control",  "wrong=WHAT", "huge",    "negative", "close-during"};

[[noreturn]] void fail(const std::string& what) {
    std::fprintf(stderr, "soak: %s\n", what.c_str());
    std::exit(1);
}

struct Holdings {
    Holdings() {
        if (!NSThread::finishCancelledThreads(Seconds(10))) fail("a thread does not end");
        QCoreApplication::processEvents();
        malloc_trim(0);
        std::ifstream("/proc/self/statm") >> pages >> pages;
        threads = count("/proc/self/task");
        descriptors = count("/proc/self/fd");
    }
    static long count(const char* folder) {
        return std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator());
    }
    long pages = 0, threads = 0, descriptors = 0;
};

class Soak {
  public:
    Soak(unsigned seed, int faultEvery) : random_(seed), faultEvery_(faultEvery) {
        if (const auto started = server_.start("127.0.0.1", 0); !started) fail(started.failure().reason);
    }
    ~Soak() { disconnect(); }

    void exchange() {
        if (connection_ == nullptr || !connection_->isConnected()) connect();
        const bool faulty = upTo(faultEvery_ - 1) == 0;
        const bool fair = faulty && upTo(1) == 0;
        if (faulty) arm(fair ? kFair[upTo(std::size(kFair) - 1)] : kUnfair[upTo(std::size(kUnfair) - 1)]);

        const auto before = record_.entry().lines;
        const auto command = std::make_shared<SwitchTelnetCommand>();
        command->setCommand(nextLine());
        connection_->processCommandSynchronously(command);
        // A fault may have ended the connection without this being known yet when the next commands go out.
        if (!faulty || fair) check(*command, before, faulty || closing_);
        closing_ = fair || (closing_ && !command->hasResponse());
        if (!faulty) return;
        plan_.set({});
        ++faults_;
        if (!fair) disconnect();
    }
    void disconnect() {
        if (connection_ != nullptr) connection_->stopConnection();
        connection_ = nullptr;
    }
    void disconnectOnBothSides() {
        disconnect();
        const Date limit = fromNow(Seconds(kConnectTime));
        while (server_.clients() > 0) {
            if (std::chrono::steady_clock::now() > limit) fail("the server does not see its clients go");
            std::this_thread::yield();
        }
    }
    long faults() const { return faults_; }
    long connections() const { return connections_; }
    long unanswered() const { return unanswered_; }

  private:
    int upTo(std::size_t most) { return std::uniform_int_distribution(0, static_cast<int>(most))(random_); }

    std::string nextLine() {
        const std::string input = std::to_string(1 + upTo(kInputs - 1));
        const std::string output = std::to_string(1 + upTo(kOutputs - 1));
        switch (upTo(4)) {
            case 0:
                return "MATRIXSIZE";
            case 1:
                return "INPUTLABEL " + input;
            case 2:
                return "OUTPUTLABEL " + output;
            case 3:
                return "GET " + output;
            default:
                return "SET " + output + " " + input;
        }
    }

    void connect() {
        disconnect();
        connection_ = std::make_shared<SwitchTelnetController>(kLimits);
        connection_->startConnectionWithHostAddressPort("127.0.0.1", server_.port());
        const Date limit = fromNow(Seconds(kConnectTime));
        while (!connection_->isConnected()) {
            if (std::chrono::steady_clock::now() > limit) fail("no connection");
            QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
        }
        ++connections_;
    }

    void arm(const char* text) {
        const auto fault = parseFault(text);
        if (!fault) fail(fault.failure().reason);
        plan_.set({*fault});
    }

    void check(const SwitchTelnetCommand& command, std::int64_t before, bool mayFail) {
        const auto entry = record_.entry();
        if (!command.hasResponse()) {
            if (!mayFail) fail("\"" + command.command() + "\" was not answered");
            if (entry.lines > before + 1) fail("\"" + command.command() + "\" was sent more than once");
            ++unanswered_;
            return;
        }
        if (entry.lines != before + 1) fail("\"" + command.command() + "\" was not sent exactly once");
        if (entry.line != command.command()) fail("\"" + command.command() + "\" came as \"" + entry.line + "\"");
        if (command.responseString() != entry.reply)
            fail("\"" + command.command() + "\" was answered with \"" + entry.reply + "\" and got \"" +
                 command.responseString().value_or("(no text)") + "\"");
    }

    std::mt19937 random_;
    const int faultEvery_;
    Record record_;
    FaultPlan plan_;
    VirtualMatrix matrix_{kInputs, kOutputs};
    SwitchServer server_{matrix_, &record_, &plan_};
    std::shared_ptr<SwitchTelnetController> connection_;
    bool closing_ = false;
    long faults_ = 0, connections_ = 0, unanswered_ = 0;
};

int numberFrom(const QCommandLineParser& parser, const QCommandLineOption& option) {
    bool valid = false;
    const int number = parser.value(option).toInt(&valid);
    if (!valid || number < 1) fail("--" + option.names().first().toStdString() + " takes a number from 1 on");
    return number;
}

int run(const QCoreApplication& application) {
    QCommandLineParser parser;
    const QCommandLineOption exchanges("exchanges", "How many exchanges to make.", "N", "1000000");
    const QCommandLineOption seed("seed", "Where chance begins.", "N",
                                  std::to_string(std::random_device()() >> 1).c_str());
    const QCommandLineOption every("fault-every", "One exchange in so many meets a fault.", "N", "500");
    parser.addOptions({exchanges, seed, every});
    parser.addHelpOption();
    parser.process(application);
    const int count = numberFrom(parser, exchanges);
    std::printf("seed %d\n", numberFrom(parser, seed));
    std::fflush(stdout);

    Soak soak(static_cast<unsigned>(numberFrom(parser, seed)), numberFrom(parser, every));
    const int warmUp = count / 10;
    for (int i = 0; i < warmUp; ++i)
        soak.exchange();
    soak.disconnectOnBothSides();
    const Holdings before;
    for (int i = warmUp; i < count; ++i)
        soak.exchange();
    soak.disconnectOnBothSides();
    const Holdings after;
    std::printf("%d exchanges, %ld faults, %ld unanswered, %ld connections\n", count, soak.faults(), soak.unanswered(),
                soak.connections());
    std::printf("pages %ld to %ld, threads %ld to %ld, descriptors %ld to %ld\n", before.pages, after.pages,
                before.threads, after.threads, before.descriptors, after.descriptors);
    if (after.pages > before.pages + kPagesOfChance) fail("memory grows");
    if (after.threads != before.threads || after.descriptors != before.descriptors) fail("something is left over");
    return 0;
}

}  // namespace
}  // namespace velmora::bench

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    return velmora::bench::run(application);
}
