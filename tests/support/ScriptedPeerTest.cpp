// The peer must let a right conversation pass and must not let any wrong one pass: every other test relies on that.
#include "tests/support/ScriptedPeer.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include "tests/support/TestClient.h"

namespace velmora::test {
namespace {

TEST(ScriptedPeer, FollowsItsScripts) {
    ScriptedPeer peer(
        {PeerScript().then(PeerScript().exchange("A", "1"), 2).waitForSignal().sendInPieces("abcde", 2).close(),
         PeerScript().expect("B").notifyTest().reset(), PeerScript().send("C").expectClose()});
    {
        TestClient client(peer.port());
        client.send("A\n");
        client.send("\rA\n\r");
        peer.signal();
        EXPECT_EQ(client.receiveAll(), "1\r\n1\r\nabcde");
    }
    {
        TestClient client(peer.port());
        client.send("B");
        EXPECT_TRUE(peer.waitForNotice());
        EXPECT_EQ(client.receiveAll(), "reset");
    }
    EXPECT_EQ(TestClient(peer.port()).receive(1), "C");
    EXPECT_FALSE(peer.waitForNotice(2));
    EXPECT_FALSE(TestClient(RefusingPort().port()).connected());
}

TEST(ScriptedPeer, FailsTheTestOnWhatIsNotInTheScript) {
    static const struct {
        PeerScript script;
        std::string sent;
        const char* failure;
    } cases[] = {
        {PeerScript().expect("GET 1\n\r"), "GET 1\r\n", "got \"GET 1\\r"},
        {PeerScript().expect("GET 1\n\r"), "GET 1", "ended after \"GET 1\""},
        {PeerScript().expect("GET 1\n\r"), "GET 1\n\r!", "behind the last step: unexpected \"!\""},
        {PeerScript(), "x", "unexpected \"x\""},
        {PeerScript().expectClose(), "x", "step 1 (expect close): unexpected \"x\""},
    };
    // The client says what it has to say, ends its side and waits until the peer has had enough.
    const auto converse = [](const PeerScript& script, const std::string& sent) {
        ScriptedPeer peer(script);
        TestClient client(peer.port());
        client.send(sent);
        client.finishSending();
        client.receiveAll();
    };
    for (const auto& wrong : cases)
        EXPECT_NONFATAL_FAILURE(converse(wrong.script, wrong.sent), wrong.failure);
    const auto connectTwice = [] {
        ScriptedPeer peer(PeerScript().close());
        const TestClient clients[] = {TestClient(peer.port()), TestClient(peer.port())};
        peer.finish();
    };
    EXPECT_NONFATAL_FAILURE(connectTwice(), "a connection more");
}

}  // namespace
}  // namespace velmora::test
