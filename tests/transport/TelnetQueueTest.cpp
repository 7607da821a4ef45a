// The queue's order and the framing of XML replies.
#include <gtest/gtest.h>

#include "tests/support/LogLines.h"
#include "tests/support/MainLoop.h"
#include "tests/support/ScriptedPeer.h"
#include "transport/SwitchTelnetController.h"

namespace velmora::test {
namespace {

std::shared_ptr<SwitchTelnetCommand> makeCommand(const std::string& text, std::int32_t priority = 0) {
    auto command = std::make_shared<SwitchTelnetCommand>();
    command->setCommand(text);
    command->setPriority(priority);
    return command;
}

TEST(TelnetQueue, keepsPriorityOrderAndDropsDuplicatesAndWhatIsNotHigher) {
    struct Case {
        std::vector<std::pair<std::string, std::int32_t>> added;
        std::vector<std::string> queued;
    };
    const Case cases[] = {
        {{{"a", 0}, {"a", 5}}, {"a"}},
        {{{"a", 0}, {"b", 0}}, {"a"}},
        {{{"a", 0}, {"b", 1}}, {"b", "a"}},
        {{{"a", 0}, {"b", 1}, {"c", -1}}, {"c", "b", "a"}},
        {{{"a", 0}, {"b", 2}, {"c", 2}, {"d", 1}}, {"b", "c", "d", "a"}},
        {{{"a", -1}, {"b", 2147483647}}, {"a"}},
        {{{"GET 1", 0}, {"get 1", 1}}, {"get 1", "GET 1"}},
    };
    for (const Case& one : cases) {
        const auto controller = std::make_shared<SwitchTelnetController>();
        for (const auto& [text, priority] : one.added) {
            controller->addNewCommand(makeCommand(text, priority));
            controller->unlockMutex();  // as a reply would
        }
        std::vector<std::string> texts;
        while (const auto command = controller->nextCommand()) {
            texts.push_back(command->command());
        }
        EXPECT_EQ(texts, one.queued);
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
        // Too short to be judged counts as complete; otherwise the closing tag, its line feed and at most three bytes
        // more end it.
        const bool complete = length < 13 || (length >= kDocument.size() && length <= kDocument.size() + 3);
        EXPECT_EQ(controller->XMLReceivedCompletely(), complete) << length;
    }
    EXPECT_EQ(log.count("error dataBuffer length < 9: <?xml"), 1);
    EXPECT_EQ(log.count("error dataBuffer length < 12: <?xml versio"), 1);

    const auto command = makeCommand("X");
    for (const std::string text :
         {"no xml at all</plist>\n", "\xFF?xml version</plist>\n", "<?xml version='1.0'?></plist>"}) {
        command->responseData()->assign(text);
        controller->setCurrentTelnetCommand(command);
        EXPECT_FALSE(controller->XMLReceivedCompletely()) << text;
    }
}

TEST(TelnetXML, aReplyCutAnywhereBehindItsBeginningArrivesWhole) {
    constexpr std::size_t kJudged = 13;
    PeerScript script;
    for (std::size_t size = 1; size <= kDocument.size(); ++size) {
        script.expect("X\n\r").send(kDocument.substr(0, kJudged)).sendInPieces(kDocument.substr(kJudged), size);
    }
    ScriptedPeer peer(script.expectClose());
    const auto controller = std::make_shared<SwitchTelnetController>();
    controller->startConnectionWithHostAddressPort("127.0.0.1", peer.port());
    ASSERT_TRUE(runMainLoopUntil([&] { return controller->isConnected(); }));
    for (std::size_t size = 1; size <= kDocument.size(); ++size) {
        const auto command = makeCommand("X");
        command->setRequiresXMLResponse(true);
        controller->processCommandSynchronously(command);
        EXPECT_EQ(command->responseString(), kDocument.substr(0, kDocument.size() - 1)) << size;
    }
    controller->closeStreams();
}

}  // namespace
}  // namespace velmora::test
