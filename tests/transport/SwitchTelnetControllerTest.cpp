// A connection against a scripted peer: what goes over the wire, and who is told and released when.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "platform/foundation/NSNotificationCenter.h"
#include "tests/support/LogLines.h"
#include "tests/support/MainLoop.h"
#include "tests/support/ScriptedPeer.h"
#include "transport/SwitchTelnetController.h"

namespace velmora::test {
namespace {

using Clock = std::chrono::steady_clock;

struct Callbacks : SwitchTelnetControllerDelegate {
    std::vector<std::string> calls;
    bool has(const std::string& call) const { return std::find(calls.begin(), calls.end(), call) != calls.end(); }
    void nodeConnectionDidOpen(SwitchTelnetController& controller) override {
        calls.push_back(controller.isConnected() && MainThread::isCurrent() ? "open" : "open too early");
    }
    void nodeConnectionDidNotOpen(SwitchTelnetController&) override { calls.push_back("not open"); }
    void nodeConnectionDidClose(SwitchTelnetController&) override { calls.push_back("close"); }
};

std::shared_ptr<SwitchTelnetCommand> makeCommand(const std::string& text, bool xml = false) {
    auto command = std::make_shared<SwitchTelnetCommand>();
    command->setCommand(text);
    command->setRequiresXMLResponse(xml);
    return command;
}

// Lets connections wait to be accepted, for ever: what is sent to it stays in the kernel's buffers.
class DeafPeer {
  public:
    DeafPeer() {
        const auto any = *SocketAddress::fromText("127.0.0.1", 0);
        EXPECT_EQ(bind(descriptor_, any.get(), any.length()), 0);
        EXPECT_EQ(listen(descriptor_, 1), 0);
    }
    ~DeafPeer() { close(descriptor_); }
    std::uint16_t port() const {
        sockaddr_storage address{};
        socklen_t length = sizeof address;
        getsockname(descriptor_, reinterpret_cast<sockaddr*>(&address), &length);
        return SocketAddress(reinterpret_cast<const sockaddr*>(&address), length).port();
    }

  private:
    const int descriptor_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
};

class Connection : public testing::Test {
  protected:
    void connectTo(std::uint16_t port, TelnetTimeLimits limits = {}) {
        controller = std::make_shared<SwitchTelnetController>(limits);
        controller->setDelegate(&callbacks);
        controller->startConnectionWithHostAddressPort("127.0.0.1", port);
    }
    void open(std::uint16_t port, TelnetTimeLimits limits = {}) {
        connectTo(port, limits);
        ASSERT_TRUE(runMainLoopUntil([&] { return callbacks.has("open"); }));
    }
    bool closed() {
        return runMainLoopUntil([&] { return callbacks.has("close"); });
    }
    std::shared_ptr<SwitchTelnetCommand> process(const std::string& text, bool xml = false) {
        auto command = makeCommand(text, xml);
        const auto start = Clock::now();
        controller->processCommandSynchronously(command);
        seconds = std::chrono::duration<double>(Clock::now() - start).count();
        return command;
    }
    void TearDown() override {
        if (controller == nullptr) return;
        controller->setDelegate(nullptr);
        controller->closeStreams();
        controller = nullptr;
        EXPECT_TRUE(NSThread::finishCancelledThreads(5.0));
        EXPECT_EQ(NSThread::runningThreads(), 0);
    }

    LogLines log;
    Callbacks callbacks;
    std::shared_ptr<SwitchTelnetController> controller;
    double seconds = 0.0;
};

TEST_F(Connection, repliesAreDecodedTrimmedAndGoToTheirCommands) {
    struct Case {
        std::string reply;
        std::optional<std::string> text;
    };
    const Case cases[] = {
        {"16x8\r\n", "16x8"},
        {"\t\x01 Camera  3 \r\n", " Camera  3 "},
        {"\xE2\x80\x8B"
         "Bühne\xE2\x80\x8B\r",
         "Bühne"},
        {"\r\n", ""},
        {"\xC0\xAF", std::nullopt},
        {std::string("a\0b\r", 4), std::string("a\0b", 3)},
        {std::string(2048, 'x'), std::string(2048, 'x')},
    };
    PeerScript script;
    for (const Case& one : cases) {
        script.expect("GET 1\n\r").send(one.reply);
    }
    ScriptedPeer peer(script.expectClose());
    open(peer.port());
    for (const Case& one : cases) {
        const auto command = process("GET 1");
        EXPECT_TRUE(command->hasResponse());
        EXPECT_EQ(command->responseString(), one.text);
    }
    controller->closeStreams();
    controller->closeStreams();
    EXPECT_TRUE(closed());
    runMainLoopOnce();
    EXPECT_EQ(callbacks.calls, (std::vector<std::string>{"open", "close"}));
}

TEST_F(Connection, aReplyInTwoSegmentsIsCutAndTheRestWaitsForTheNextCommand) {
    ScriptedPeer peer(PeerScript()
                          .expect("A\n\r")
                          .send("first")
                          .waitForSignal()
                          .send("second")
                          .notifyTest()
                          .expect("B\n\r")
                          .expectClose());
    open(peer.port());
    EXPECT_EQ(process("A")->responseString(), "first");
    peer.signal();
    ASSERT_TRUE(peer.waitForNotice());
    EXPECT_EQ(process("B")->responseString(), "second");
    controller->closeStreams();
}

TEST_F(Connection, theEndComesAfterTheBytesBeforeItAndAtOnceWhenIdle) {
    ScriptedPeer peer(PeerScript().expect("A\n\r").send("last").close());
    open(peer.port());
    EXPECT_EQ(process("A")->responseString(), "last");
    EXPECT_TRUE(closed());
    EXPECT_EQ(log.count("NSStreamEventEndEncountered"), 1);
    EXPECT_FALSE(controller->isConnected());
    EXPECT_FALSE(process("B")->hasResponse());
}

TEST_F(Connection, unwantedBytesDoNotHideTheEnd) {
    ScriptedPeer peer(PeerScript().send("nobody asked").waitForSignal().close());
    open(peer.port());
    peer.signal();
    EXPECT_TRUE(closed());
}

TEST_F(Connection, closingReleasesTheClientInFlightWithoutAReply) {
    for (const bool byPeer : {true, false}) {
        SCOPED_TRACE(byPeer);
        PeerScript script;
        script.expect("A\n\r").notifyTest();
        ScriptedPeer peer(byPeer ? script.reset() : script.expectClose());
        callbacks.calls.clear();
        open(peer.port());
        std::thread closer;
        if (!byPeer) {
            closer = std::thread([&] {
                EXPECT_TRUE(peer.waitForNotice());
                controller->closeStreams();
            });
        }
        const auto command = process("A");
        if (closer.joinable()) closer.join();
        EXPECT_FALSE(command->hasResponse());
        EXPECT_FALSE(command->error());
        EXPECT_EQ(command->responseString(), "");
        EXPECT_LT(seconds, 5.0);
        EXPECT_TRUE(closed());
        EXPECT_EQ(controller->currentTelnetCommand(), nullptr);
    }
}

TEST_F(Connection, aRefusedConnectionIsToldAndReleasesItsClientAtOnce) {
    RefusingPort port;
    connectTo(port.port());
    const auto command = process("SET 1 1");  // queued while the connection is being made, or too late for it
    EXPECT_FALSE(command->hasResponse());
    EXPECT_LT(seconds, 5.0);
    EXPECT_TRUE(closed());
    EXPECT_EQ(callbacks.calls, (std::vector<std::string>{"not open", "close"}));
}

TEST_F(Connection, aStartBesideARunningThreadIsRefusedWithANotification) {
    ScriptedPeer peer(PeerScript().expectClose());
    open(peer.port());
    int refusals = 0;
    const auto observation = NSNotificationCenter::defaultCenter().addObserver(
        "nodeConnectionDidNotOpen", static_cast<SwitchTelnetControllerDelegate*>(&callbacks),
        [&](const NSNotification&) { ++refusals; });
    controller->startConnectionWithHostAddressPort("127.0.0.1", peer.port());
    EXPECT_EQ(refusals, 1);
    EXPECT_TRUE(controller->isConnected());
    controller->closeStreams();
    controller->startConnectionWithHostAddressPort("127.0.0.1", peer.port());  // the old thread is winding down
    EXPECT_EQ(refusals, 2);
    controller->startConnectionWithNetService(nullptr);
    EXPECT_EQ(refusals, 3);
    EXPECT_TRUE(runMainLoopUntil([&] { return !controller->communicationsThreadIsRunning(); }));
    controller->startConnectionWithNetService(nullptr);
    EXPECT_EQ(refusals, 3);
    EXPECT_EQ(log.count("netservice nil"), 1);
    controller->startConnectionWithHostAddressPort("127.0.0.1", 0);  // no streams to be had
    EXPECT_EQ(refusals, 4);
    EXPECT_FALSE(controller->communicationsThreadIsRunning());
}

TEST_F(Connection, aCommandThatIsNotAnsweredClosesTheConnectionAfterTenSeconds) {
    ScriptedPeer peer(PeerScript().expect("A\n\r").expectClose());
    open(peer.port());
    EXPECT_FALSE(process("A")->hasResponse());
    EXPECT_GE(seconds, 10.0);
    EXPECT_LT(seconds, 10.5);
    EXPECT_EQ(log.count("NSStreamEventEndEncountered because of a timeout"), 1);
    EXPECT_FALSE(controller->isConnected());
    EXPECT_TRUE(closed());
}

TEST_F(Connection, aQueuedCommandSurvivesACloseAndHeadsTheNextConnection) {
    RefusingPort refusing;
    connectTo(refusing.port());
    controller->addNewCommand(makeCommand("LATE"));
    EXPECT_TRUE(closed());
    EXPECT_EQ(controller->telnetCommands().size(), 1U);
    EXPECT_TRUE(runMainLoopUntil([&] { return !controller->communicationsThreadIsRunning(); }));
    ScriptedPeer peer(PeerScript().exchange("LATE", "ok").exchange("NEXT", "yes").expectClose());
    controller->startConnectionWithHostAddressPort("127.0.0.1", peer.port());
    ASSERT_TRUE(
        runMainLoopUntil([&] { return callbacks.has("open") && controller->currentTelnetCommand() == nullptr; }));
    EXPECT_EQ(process("NEXT")->responseString(), "yes");
    controller->closeStreams();
}

TEST_F(Connection, aClosedControllerHoldsNoDescriptors) {
    const auto descriptors = [] {
        const std::filesystem::directory_iterator all("/proc/self/fd");
        return std::distance(begin(all), end(all));
    };
    const RefusingPort port;
    std::vector<std::shared_ptr<SwitchTelnetController>> closed;
    const auto before = descriptors();
    for (int i = 0; i < 20; ++i) {
        callbacks.calls.clear();
        connectTo(port.port());
        EXPECT_TRUE(this->closed());
        closed.push_back(controller);
    }
    EXPECT_TRUE(NSThread::finishCancelledThreads(5.0));
    EXPECT_EQ(descriptors(), before);
}

TEST_F(Connection, noMisuseOrDeafPeerBlocksAClientBeyondTheTimeLimit) {
    const TelnetTimeLimits limits{.reply = 0.5, .runLoopPeriod = 0.1, .handOff = 0.1};
    {
        ScriptedPeer peer(PeerScript().expect("A\n\r").expectClose());
        open(peer.port(), limits);
        controller->addNewCommand(makeCommand("A"));  // takes the signal; nobody waits for the reply
        EXPECT_FALSE(process("B")->hasResponse());    // blocks the communications thread
        EXPECT_LT(seconds, 1.5);
        EXPECT_FALSE(controller->isConnected());
        EXPECT_TRUE(NSThread::finishCancelledThreads(5.0));
        // The signal that the unanswered command took is free again.
        callbacks.calls.clear();
        ScriptedPeer next(PeerScript().expect("B\n\r").send("b").exchange("C", "c").expectClose());
        controller->setTelnetCommands({makeCommand("B")});
        controller->startConnectionWithHostAddressPort("127.0.0.1", next.port());
        ASSERT_TRUE(
            runMainLoopUntil([&] { return callbacks.has("open") && controller->currentTelnetCommand() == nullptr; }));
        EXPECT_EQ(process("C")->responseString(), "c");
        controller->closeStreams();
        EXPECT_TRUE(NSThread::finishCancelledThreads(5.0));
    }
    callbacks.calls.clear();
    // More than the buffers between the two take: the rest of the line waits for space until the connection is closed.
    const std::string endless(12 * 1024 * 1024, 'x');
    const DeafPeer deaf;
    open(deaf.port(), limits);
    EXPECT_FALSE(process(endless)->hasResponse());
    EXPECT_LT(seconds, 2.0);
}

}  // namespace
}  // namespace velmora::test
