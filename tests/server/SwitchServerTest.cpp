#include "server/SwitchServer.h"

#include <gtest/gtest.h>

#include <QByteArray>
#include <vector>

#include "server/ServerProgram.h"
#include "tests/support/MainLoop.h"
#include "tests/support/Sockets.h"

namespace velmora::test {
namespace {

class SwitchServerTest : public testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(server_.start("127.0.0.1", 0)); }
    TestClient client() const { return TestClient(server_.port()); }

    VirtualMatrix matrix_{16, 8};
    SwitchServer server_{matrix_};
};

TEST_F(SwitchServerTest, servesSeveralClientsOneMatrix) {
    TestClient first = client();
    TestClient second = client();
    EXPECT_EQ(first.exchange("MATRIXSIZE"), "16x8\r\n");
    EXPECT_EQ(first.exchange("SET 2 7"), "OK\r\n");
    EXPECT_EQ(second.exchange("GET 2"), "2 7\r\n");
    EXPECT_EQ(matrix_.routedInput(2), 7);
    // A client that says everything at once and ends its side still gets every reply before the end.
    second.send("GET 2\rINPUTLABEL 16\r\nREFRESH\nNONSENSE\n\rGET 2\n\rincomplete");
    second.finishSending();
    EXPECT_EQ(second.receiveAll(), "2 7\r\nInput 16\r\nOK\r\nERROR\r\n2 7\r\n");
    EXPECT_TRUE(runMainLoopUntil([this] { return server_.clients() == 1; }));
}

TEST_F(SwitchServerTest, aClientThatNeverReadsIsBoundedAndHurtsNobody) {
    ASSERT_TRUE(matrix_.apply({{std::string(100, 'x')}, {}, {}}));
    TestClient deaf = client();
    TestClient other = client();
    const std::string_view request = "INPUTLABEL 1\n\r";
    constexpr std::size_t bound = 16 << 20;
    const std::string burst = QByteArray(request.data()).repeated(10'000).toStdString();
    std::size_t sent = 0;
    // The server has had its turn when the other client is answered; if it takes nothing then, it has stopped reading.
    for (int refused = 0; refused < 20 && sent < bound;) {
        const std::size_t at = sent % request.size();
        const ssize_t taken =
            ::send(deaf.descriptor(), burst.data() + at, burst.size() - at, MSG_NOSIGNAL | MSG_DONTWAIT);
        sent += static_cast<std::size_t>(std::max<ssize_t>(0, taken));
        refused = taken <= 0 ? refused + 1 : 0;
        ASSERT_EQ(other.exchange("GET 3"), "3 3\r\n");
    }
    EXPECT_LT(sent, bound);
    // Once it reads, it gets everything that it asked for.
    const std::string reply = std::string(100, 'x') + "\r\n";
    for (std::size_t line = 0; line < sent / request.size(); ++line) {
        ASSERT_EQ(deaf.receive(reply.size()), reply) << line;
    }
}

TEST_F(SwitchServerTest, aThousandIdleClientsAndAnEndlessLineHurtNobody) {
    raiseDescriptorLimit();
    std::vector<TestClient> idle;
    for (int i = 0; i < 1000; ++i) {
        idle.push_back(client());
    }
    EXPECT_TRUE(runMainLoopUntil([this] { return server_.clients() == 1000; }));
    ASSERT_TRUE(idle.front().send(std::string(1'000'000, 'G')));
    EXPECT_EQ(client().exchange("GET 5"), "5 5\r\n") << "while the endless line is still going on";
    EXPECT_EQ(idle.front().exchange("ET 1"), "ERROR\r\n");
    EXPECT_EQ(idle.back().exchange("GET 6"), "6 6\r\n");
    idle.clear();
    EXPECT_TRUE(runMainLoopUntil([this] { return server_.clients() == 0; }));
}

TEST_F(SwitchServerTest, stopsWithClientsAndStartsAgainOnItsPort) {
    TestClient lost = client();
    EXPECT_EQ(lost.exchange("GET 1"), "1 1\r\n");
    const std::uint16_t port = server_.port();
    server_.stop();
    EXPECT_EQ(lost.receiveAll(), "");
    EXPECT_EQ(server_.clients(), 0u);
    EXPECT_FALSE(TestClient(port).connected());
    ASSERT_TRUE(server_.start("127.0.0.1", port));
    EXPECT_EQ(client().exchange("GET 1"), "1 1\r\n");
    EXPECT_EQ(server_.endpoint(), "127.0.0.1:" + std::to_string(port));
    // What cannot be listened on is said, and leaves the server stopped.
    const RefusingPort taken;
    EXPECT_FALSE(server_.start("127.0.0.1", taken.port()));
    EXPECT_FALSE(server_.start("nowhere", 0));
    ASSERT_TRUE(server_.start(std::vector<std::string>{"::1", "127.0.0.1"}, 0));
    const std::string both = std::to_string(server_.port());
    EXPECT_EQ(server_.endpoint(), "[::1]:" + both + ", 127.0.0.1:" + both);
    EXPECT_EQ(client().exchange("GET 1"), "1 1\r\n");
}

}  // namespace
}  // namespace velmora::test
