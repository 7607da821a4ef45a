// The lines that the switchers send, and how they read the replies.
#include <gtest/gtest.h>

#include <limits>

#include "discovery/ServerInfo.h"
#include "switcher/MatrixSwitcherOutput.h"
#include "switcher/TCPMatrixSwitcher.h"
#include "tests/support/LogLines.h"
#include "tests/support/MainLoop.h"
#include "tests/support/PublishedService.h"
#include "tests/support/ScriptedPeer.h"

namespace velmora::test {
namespace {

using namespace std::string_literals;

constexpr auto kHighest = std::numeric_limits<std::int64_t>::max();

struct Registry : TCPMatrixSwitcherDelegate {
    std::vector<std::shared_ptr<ServerInfo>> servers;
    std::vector<NSSize> sizes;

    void add(const std::string& name, bool withService = true) {
        const auto server = std::make_shared<ServerInfo>();
        server->setServerName(name);
        if (withService) server->setNetService(std::make_shared<NSNetService>("local.", "_matrixswitcher._tcp.", name));
        servers.push_back(server);
    }
    std::int32_t indexOfServerForName(const std::string& name) const override {
        for (std::size_t i = 0; i < servers.size(); ++i) {
            if (servers[i]->serverName() == name) return static_cast<std::int32_t>(i);
        }
        return -1;
    }
    const std::vector<std::shared_ptr<ServerInfo>>& serversArray() const override { return servers; }
    void matrixDimensionsChangedTo(MatrixSwitcher&, NSSize size) override { sizes.push_back(size); }
};

TEST(TCPMatrixSwitcher, speaksTheServersVocabulary) {
    const std::pair<const char*, NSSize> sizes[] = {
        {"4X2", {16, 8}},    {"1x2x3", {16, 8}},     {"7", {16, 8}},  {" 5 x 6 ", {5, 6}},
        {"65537x2", {5, 6}}, {"-1x2", {5, 6}},       {"0x8", {0, 8}}, {"999999999999x3", {0, 8}},
        {"\xFFx2", {0, 8}},  {"65536x1", {65536, 1}}};
    using Answer = CommandAnswer;
    // Reply, input, how it is judged, and words of the reason.
    const std::tuple<const char*, std::int64_t, Answer, const char*> routes[] = {
        {"3 5", 4, Answer::answered, ""},
        {"3 65536", 65535, Answer::answered, ""},
        {"3  5", 0, Answer::unusableReply, "no output and input: \"3  5\""},
        {"3 5 ", 0, Answer::unusableReply, "\"3 5 \""},
        {"3 5\r\n3 5", 0, Answer::unusableReply, "\"3 5\\r\\n3 5\""},
        {"5", 0, Answer::unusableReply, "no output and input"},
        {"3 abc", -1, Answer::unusableReply, "no output and input"},
        {"+3 5", 4, Answer::unusableReply, "no output and input"},
        {"x -7y", -8, Answer::unusableReply, "no output and input"},
        {"3 9223372036854775808", kHighest - 1, Answer::unusableReply, "no output and input"},
        {"3 9223372036854775807", kHighest - 1, Answer::unusableReply, "an input that there is not"},
        {"3 65537", 65536, Answer::unusableReply, "an input that there is not"},
        {"3 0", -1, Answer::unusableReply, "an input that there is not"},
        {"2 5", 4, Answer::unusableReply, "another output: \"2 5\""},
        {"\xFF 5", 0, Answer::unusableReply, "not UTF-8"},
        {"", 0, Answer::unusableReply, "empty"},
        {"ERROR", 0, Answer::refused, "\"ERROR\""},
    };
    PeerScript script;
    script.exchange("MATRIXSIZE", "16x8");
    for (const auto& [reply, size] : sizes) {
        script.exchange("MATRIXSIZE", reply);
    }
    for (const auto& route : routes) {
        script.exchange("REFRESH", "ERROR").exchange("GET 3", std::get<0>(route));
    }
    script.exchange("REFRESH", "whatever").expect("GET 3\n\r").send("3 5");
    script.exchange("INPUTLABEL 1", "\t\u200B Bühne \0 1\x1B"s).exchange("OUTPUTLABEL 8", "");
    script.exchange("INPUTLABEL -2147483648", "\xFF");
    script.exchange("SET 3 1", "whatever").exchange("SET -2147483648 0", "ERROR").exchange("SET 1 6", "");
    script.exchange("REFRESH", "").exchange("GET -9223372036854775808", "");
    ScriptedPeer peer(script.expectClose());
    const PublishedService service("Vocabulary", peer.port());
    Registry registry;
    registry.add("Vocabulary");
    const auto switcher = std::make_shared<TCPMatrixSwitcher>();
    static_cast<MatrixSwitcher&>(*switcher).setDelegate(&registry);
    ASSERT_TRUE(switcher->openPort("Vocabulary"));
    ASSERT_TRUE(runMainLoopUntil([&] { return !registry.sizes.empty(); }));
    EXPECT_EQ(registry.sizes.front(), (NSSize{16, 8}));
    for (const auto& [reply, size] : sizes) {
        EXPECT_EQ(switcher->getMatrixDimensions(), size) << reply;
    }
    EXPECT_EQ(registry.sizes.size(), 1U);  // asking tells nobody
    EXPECT_EQ(switcher->lastOutcome(), nullptr);
    for (const auto& [reply, input, answer, words] : routes) {
        EXPECT_EQ(switcher->selectedInputForOutput(2), input) << reply;
        const auto outcome = switcher->lastOutcome();
        EXPECT_EQ(outcome->answer, answer) << reply;
        EXPECT_NE(outcome->reason.find(words), std::string::npos) << outcome->reason;
        EXPECT_EQ(outcome->reason.empty(), answer == Answer::answered);
    }
    EXPECT_EQ(switcher->selectedInputForOutput(2), 4);
    EXPECT_EQ(switcher->lastOutcome()->answer, Answer::unusableReply);  // where others have a line end
    EXPECT_EQ(switcher->inputLabelAtIndex(0), " Bühne \0 1"s);
    EXPECT_EQ(switcher->outputLabelAtIndex(7), "");
    EXPECT_EQ(switcher->inputLabelAtIndex(std::numeric_limits<std::int32_t>::max()), std::nullopt);
    const auto answerToSet = [&](std::int64_t output, std::int64_t input) {
        switcher->switchOutputToInput(output, input);
        return switcher->lastOutcome()->answer;
    };
    EXPECT_EQ(answerToSet(2, 0), Answer::answered);
    EXPECT_EQ(answerToSet(std::numeric_limits<std::int32_t>::max(), -1), Answer::refused);
    EXPECT_EQ(answerToSet(std::int64_t{1} << 32, 5), Answer::unusableReply);  // cut to its low 32 bits
    EXPECT_EQ(switcher->selectedInputForOutput(kHighest), 0);
    switcher->closePort();
}

TEST(TCPMatrixSwitcher, opensOnlyKnownServersAndLatchesOpen) {
    LogLines log;
    RefusingPort refusing;
    const PublishedService service("Latch", refusing.port());
    Registry registry;
    registry.add("Latch");
    registry.add("No service", false);
    const auto switcher = std::make_shared<TCPMatrixSwitcher>();
    switcher->setDelegate(&registry);
    EXPECT_FALSE(switcher->openPort("nobody"));
    EXPECT_FALSE(switcher->openPort("No service"));
    EXPECT_FALSE(switcher->isTryingToConnect());
    EXPECT_TRUE(switcher->openPort("Latch"));
    EXPECT_TRUE(registry.servers[0]->isInUse());
    EXPECT_EQ(log.count("A new client has registered: " + switcher->description()), 1);
    EXPECT_TRUE(runMainLoopUntil([&] { return !switcher->isTryingToConnect(); }));
    EXPECT_TRUE(switcher->openPort("nobody"));
    EXPECT_EQ(switcher->currentServer(), registry.servers[0]);
    EXPECT_FALSE(registry.servers[0]->isInUse());
    EXPECT_EQ(log.count("A client has unregistered: " + switcher->description()), 1);
    switcher->closePort();
    EXPECT_EQ(switcher->currentServer(), nullptr);
    EXPECT_TRUE(switcher->isOpen());
}

TEST(ServerInfo, isInUseByTheNumberOfItsClientsCutToEightBits) {
    ServerInfo server;
    const auto first = std::make_shared<NSObject>();
    const auto second = std::make_shared<NSObject>();
    server.registerClient(first);
    server.registerClient(first);
    server.unRegisterClient(second);
    EXPECT_TRUE(server.isInUse());
    server.unRegisterClient(first);
    EXPECT_FALSE(server.isInUse());
    for (int i = 1; i <= 257; ++i) {
        server.registerClient(second);
        EXPECT_EQ(server.isInUse(), i != 256) << i;
    }
}

TEST(MatrixSwitcherOutput, routesOneAboveItsIndexAndStoresZeroAsThirtyTwo) {
    struct Recorder : MatrixSwitcher {
        std::vector<std::pair<std::int64_t, std::int64_t>> routed;
        bool switchOutputToInput(std::int64_t output, std::int64_t input) override {
            routed.emplace_back(output, input);
            return true;
        }
    } device;
    MatrixSwitcherOutput output(&device, 3);
    EXPECT_EQ(output.inputAsInt(), 1);
    output.setInput(std::int32_t{0});
    output.setInput("5 and more");
    output.setInputAsInt(-1);
    EXPECT_EQ(output.inputAsInt(), -1);
    EXPECT_EQ(device.routed, (std::vector<std::pair<std::int64_t, std::int64_t>>{{4, 32}, {4, 5}}));
}

}  // namespace
}  // namespace velmora::test
