// Every other test relies on the peer, so it must not let any wrong conversation pass.
#include "tests/support/ScriptedPeer.h"

#include <gtest/gtest-spi.h>

namespace velmora::test {

TEST(ScriptedPeer, failsTheTestOnWhatIsNotInItsScripts) {
    static const struct {
        PeerScript script;
        std::string sent;
        int connections;
        const char* failure;
    } cases[] = {
        {PeerScript().expect("GET 1\n\r"), "GET 1\r\n", 1, "got \"GET 1\\r"},
        {PeerScript().expect("GET 1\n\r"), "GET 1", 1, "got \"GET 1\""},
        {PeerScript().expect("GET 1\n\r"), "GET 1\n\r!", 1, "after the last step: unexpected \"!\""},
        {PeerScript().exchange("GET 1", "1 2"), "GET 1\n\r", 2, "a connection more"},
        {PeerScript(), "x", 1, "unexpected \"x\""},
        {PeerScript().expectClose(), "x", 1, "step 1: unexpected \"x\""},
    };
    const auto converse = [](const PeerScript& script, const std::string& sent, int connections) {
        ScriptedPeer peer(script);
        TestClient client(peer.port());
        client.send(sent);
        client.finishSending();
        for (int more = 1; more < connections; ++more) {
            EXPECT_TRUE(TestClient(peer.port()).connected());
        }
    };
    for (const auto& wrong : cases) {
        EXPECT_NONFATAL_FAILURE(converse(wrong.script, wrong.sent, wrong.connections), wrong.failure);
    }
}

}  // namespace velmora::test
