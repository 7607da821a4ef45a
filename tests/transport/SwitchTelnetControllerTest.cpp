// A connection against a scripted peer: bytes, callbacks, time limits; the queue's order; the framing of XML.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "platform/foundation/NSNotificationCenter.h"
#include "tests/support/Holdings.h"
#include "tests/support/LogLines.h"
#include "tests/support/MainLoop.h"
#include "tests/support/ScriptedPeer.h"
#include "transport/SwitchTelnetController.h"

namespace velmora::test {
namespace {

struct Callbacks : SwitchTelnetControllerDelegate {
    Strings calls;
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
    bool isOpenAndIdle() {
        return runMainLoopUntil([&] { return callbacks.has("open") && controller->currentTelnetCommand() == nullptr; });
    }
    bool closed() {
        return runMainLoopUntil([&] { return callbacks.has("close"); });
    }
    std::shared_ptr<SwitchTelnetCommand> process(const std::string& text, bool xml = false) {
        auto command = makeCommand(text, xml);
        const auto start = std::chrono::steady_clock::now();
        controller->processCommandSynchronously(command);
        seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        return command;
    }
    void TearDown() override {
        if (controller == nullptr) return;
        controller->setDelegate(nullptr);
        controller->closeStreams();
        EXPECT_TRUE(NSThread::finishCancelledThreads(Seconds(5)));
        EXPECT_EQ(NSThread::runningThreads(), 0);
        EXPECT_EQ(openDescriptors(), descriptorsBefore) << "a closed controller holds none";
    }

    const std::ptrdiff_t descriptorsBefore = openDescriptors();
    LogLines log;
    Callbacks callbacks;
    std::shared_ptr<SwitchTelnetController> controller;
    double seconds = 0.0;
};

TEST_F(Connection, aReplyInTwoSegmentsIsCutAndTheRestWaitsForTheNextCommand) {
    PeerScript script;
    script.expect("A\n\r").send("first").waitForSignal().send("second").notifyTest().expect("B\n\r");
    script.waitForSignal().send("nobody asked").notifyTest().waitForSignal().close();
    ScriptedPeer peer(script);
    open(peer.port());
    EXPECT_EQ(process("A")->responseString(), "first");
    peer.signal();
    ASSERT_TRUE(peer.waitForNotice());
    EXPECT_EQ(process("B")->responseString(), "second");
    peer.signal();
    ASSERT_TRUE(peer.waitForNotice());
    peer.signal();
    EXPECT_TRUE(closed());  // unwanted bytes do not hide the end
    EXPECT_EQ(log.count("NSStreamEventEndEncountered"), 1);
    EXPECT_FALSE(controller->isConnected());
    EXPECT_FALSE(process("C")->hasResponse());
}

TEST_F(Connection, closingReleasesTheClientInFlightWithoutAReply) {
    ScriptedPeer peer(PeerScript().expect("A\n\r").notifyTest().expectClose());
    open(peer.port());
    std::thread closer([&] {
        EXPECT_TRUE(peer.waitForNotice());
        controller->closeStreams();
        controller->closeStreams();
    });
    const auto command = process("A");
    closer.join();
    EXPECT_FALSE(command->hasResponse());
    EXPECT_EQ(command->responseString(), "");
    EXPECT_LT(seconds, 5.0);
    EXPECT_TRUE(closed());
    runMainLoopOnce();
    EXPECT_EQ(callbacks.calls, (Strings{"open", "close"}));
    EXPECT_EQ(controller->currentTelnetCommand(), nullptr);
}

TEST_F(Connection, aRefusedConnectionIsToldAndReleasesItsClientAtOnce) {
    RefusingPort port;
    connectTo(port.port());
    const auto command = process("SET 1 1");  // queued while the connection is being made, or too late for it
    EXPECT_FALSE(command->hasResponse());
    EXPECT_LT(seconds, 5.0);
    EXPECT_TRUE(closed());
    EXPECT_EQ(callbacks.calls, (Strings{"not open", "close"}));
    EXPECT_EQ(log.count("Connection failed: Connection refused"), 1);
}

TEST_F(Connection, aStartBesideARunningThreadIsRefusedWithANotification) {
    ScriptedPeer peer(PeerScript().expectClose());
    open(peer.port(), {.runLoopPeriod = Seconds(60)});
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
    EXPECT_TRUE(NSThread::finishCancelledThreads(Seconds(10)));
    controller->startConnectionWithNetService(nullptr);
    EXPECT_EQ(refusals, 3);
    EXPECT_EQ(log.count("netservice nil"), 1);
    controller->startConnectionWithHostAddressPort("127.0.0.1", 0);  // no streams to be had
    EXPECT_EQ(refusals, 4);
    EXPECT_FALSE(controller->communicationsThreadIsRunning());
}

TEST_F(Connection, aQueuedCommandSurvivesACloseAndHeadsTheNextConnection) {
    RefusingPort refusing;
    connectTo(refusing.port());
    controller->addNewCommand(makeCommand("LATE"));
    EXPECT_TRUE(closed());
    EXPECT_EQ(controller->telnetCommands().size(), 1U);
    EXPECT_TRUE(runMainLoopUntil([&] { return !controller->communicationsThreadIsRunning(); }));
    ScriptedPeer peer(PeerScript().exchange("LATE", "ok").exchange("NEXT", "yes").expectClose());
    controller->setTelnetCommands({makeCommand("LATE"), makeCommand("LATER")});
    controller->startConnectionWithHostAddressPort("127.0.0.1", peer.port());
    ASSERT_TRUE(isOpenAndIdle());
    EXPECT_EQ(controller->telnetCommands().size(), 1U);  // a reply sends nothing
    controller->setTelnetCommands({});
    EXPECT_EQ(process("NEXT")->responseString(), "yes");
    controller->closeStreams();
}

TEST_F(Connection, aSecondCommandWaitsForTheReplyToTheFirst) {
    ScriptedPeer peer(PeerScript().expect("A\n\r").waitForSignal().send("a").exchange("B", "b").expectClose());
    open(peer.port());
    controller->addNewCommand(makeCommand("A"));
    const auto second = makeCommand("B");
    std::thread adder([&] { controller->addNewCommand(second); });
    peer.signal();
    EXPECT_TRUE(runMainLoopUntil([&] { return second->hasResponse(); }));
    adder.join();
    controller->closeStreams();
}

TEST_F(Connection, noMisuseOrDeafPeerBlocksAClientBeyondTheTimeLimit) {
    const TelnetTimeLimits limits{Seconds(0.5), Seconds(0.1), Seconds(0.1)};
    {
        ScriptedPeer peer(PeerScript().expect("A\n\r").expectClose());
        open(peer.port(), limits);
        controller->addNewCommand(makeCommand("A"));  // takes the signal; nobody waits for the reply
        EXPECT_FALSE(process("B")->hasResponse());    // blocks the communications thread
        EXPECT_LT(seconds, 1.5);
        EXPECT_FALSE(controller->isConnected());
        EXPECT_TRUE(NSThread::finishCancelledThreads(Seconds(5)));
        // The signal that the unanswered command took is free again.
        callbacks.calls.clear();
        ScriptedPeer next(PeerScript().expect("B\n\r").send("b").exchange("C", "c").expectClose());
        controller->setTelnetCommands({makeCommand("B")});
        controller->startConnectionWithHostAddressPort("127.0.0.1", next.port());
        ASSERT_TRUE(isOpenAndIdle());
        EXPECT_EQ(process("C")->responseString(), "c");
        controller->closeStreams();
        EXPECT_TRUE(NSThread::finishCancelledThreads(Seconds(5)));
    }
    callbacks.calls.clear();
    // More than the buffers between the two take: the rest of the line waits for space until the connection is closed.
    const std::string endless(12 * 1024 * 1024, 'x');
    const ListeningPort deaf(1);
    open(deaf.port(), limits);
    EXPECT_FALSE(process(endless)->hasResponse());
    EXPECT_LT(seconds, 5.0);
}

TEST(TelnetQueue, keepsPriorityOrderAndDropsDuplicatesAndWhatIsNotHigher) {
    const std::pair<std::vector<std::pair<std::string, std::int32_t>>, Strings> cases[] = {
        {{{"a", 0}, {"a", 5}}, {"a"}},
        {{{"a", 0}, {"b", 0}}, {"a"}},
        {{{"a", 0}, {"b", 1}}, {"b", "a"}},
        {{{"a", 0}, {"b", 1}, {"c", -1}}, {"c", "b", "a"}},
        {{{"a", 0}, {"b", 2}, {"c", 2}, {"d", 1}}, {"b", "c", "d", "a"}},
        {{{"a", -1}, {"b", 2147483647}}, {"a"}},
        {{{"GET 1", 0}, {"get 1", 1}}, {"get 1", "GET 1"}},
    };
    for (const auto& [added, queued] : cases) {
        const auto controller = std::make_shared<SwitchTelnetController>();
        for (const auto& [text, priority] : added) {
            const auto command = makeCommand(text);
            command->setPriority(priority);
            controller->addNewCommand(command);
            controller->unlockMutex();  // as a reply would
        }
        Strings texts;
        while (const auto command = controller->nextCommand()) {
            texts.push_back(command->command());
        }
        EXPECT_EQ(texts, queued);
    }
}

const std::string kDocument = "<?xml version=\"1.0\"?><plist><string>\xC3\xBC</string></plist>\n";

TEST(TelnetXML, everyPrefixIsCompleteExactlyWhenTheRuleSays) {
    LogLines log;
    const auto controller = std::make_shared<SwitchTelnetController>();
    EXPECT_FALSE(controller->XMLReceivedCompletely());
    for (std::size_t length = 0; length <= kDocument.size() + 5; ++length) {
        const auto command = makeCommand("X");
        command->responseData()->assign((kDocument + "\r\n\r\n\r").substr(0, length));
        controller->setCurrentTelnetCommand(command);
        // Complete: too short to be judged, or at most three bytes after the closing tag and its line feed.
        const bool complete = length < 13 || (length >= kDocument.size() && length <= kDocument.size() + 3);
        EXPECT_EQ(controller->XMLReceivedCompletely(), complete) << length;
    }
    EXPECT_EQ(log.count("error dataBuffer length < 9: <?xml"), 1);
    EXPECT_EQ(log.count("error dataBuffer length < 12: <?xml versio"), 1);
    EXPECT_EQ(log.count("error dataBuffer length < 9: <?xml ver"), 1);
    for (const std::string text :
         {"no xml at all</plist>\n", "\xFF?xml version</plist>\n", "<?xml version='1.0'?></plist>"}) {
        controller->currentTelnetCommand()->responseData()->assign(text);
        EXPECT_FALSE(controller->XMLReceivedCompletely()) << text;
    }
}

TEST_F(Connection, anXMLReplyCutAnywhereBehindItsBeginningArrivesWhole) {
    constexpr std::size_t kJudged = 13;
    PeerScript script;
    for (std::size_t size = 1; size <= kDocument.size(); ++size) {
        script.expect("X\n\r").send(kDocument.substr(0, kJudged));
        for (std::size_t at = kJudged; at < kDocument.size(); at += size)
            script.send(kDocument.substr(at, size));
    }
    ScriptedPeer peer(script.expectClose());
    open(peer.port());
    for (std::size_t size = 1; size <= kDocument.size(); ++size)
        EXPECT_EQ(process("X", true)->responseString(), kDocument.substr(0, kDocument.size() - 1)) << size;
    controller->closeStreams();
}

TEST(Streams, giveEveryAddressItsTurnWhileACommandMayStillWaitAndSilentOnesASecond) {
    const ListeningPort mute(0);
    const TestClient only(mute.port());  // there is no room for another
    const ListeningPort good;
    const RefusingPort refusing;
    const auto loop = std::make_shared<NSRunLoop>();
    std::vector<std::shared_ptr<NSOutputStream>> streams;
    for (const std::uint16_t second : {good.port(), refusing.port()}) {
        const auto provider = [&](const auto& answer) {
            const std::uint16_t ports[] = {mute.port(), second};
            std::vector<SocketAddress> addresses;
            for (const std::uint16_t port : ports)
                addresses.push_back(*SocketAddress::fromText("127.0.0.1", port));
            answer(addresses);
        };
        streams.push_back(streamPairWithEndpointProvider(provider).output);
        streams.back()->scheduleInRunLoopForMode(loop, NSDefaultRunLoopMode);
        streams.back()->open();
    }
    const auto comesTo = [&](const ListeningPort& port) {
        const Date limit = fromNow(TelnetTimeLimits().reply / 2);
        while (!port.hasConnection() && std::chrono::steady_clock::now() < limit)
            loop->runModeUntilDate(NSDefaultRunLoopMode, fromNow(Seconds(0.05)));
        return port.hasConnection();
    };
    EXPECT_TRUE(comesTo(good));
    const Socket first(mute.accept());  // now there is
    EXPECT_TRUE(comesTo(mute));
    ASSERT_TRUE(streams.front()->hasSpaceAvailable());
    EXPECT_EQ(streams.front()->write({}), 0);  // and does not wait until a byte is gone
    for (const auto& stream : streams)
        stream->removeFromRunLoopForMode(loop, NSDefaultRunLoopMode);
}

}  // namespace
}  // namespace velmora::test
