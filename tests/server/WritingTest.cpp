// What the server writes: to whom does not take it, and into its state file.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <QTemporaryDir>
#include <csignal>

#include "platform/foundation/Descriptor.h"
#include "platform/foundation/FileContents.h"
#include "server/MatrixFile.h"
#include "server/OutputQueue.h"
#include "server/StateKeeper.h"
#include "tests/support/MainLoop.h"

namespace velmora::test {
namespace {

TEST(OutputQueue, endsAlthoughATerminalTakesNothing) {
    const Descriptor terminal(posix_openpt(O_RDWR | O_NOCTTY));
    ASSERT_TRUE(grantpt(terminal.number()) == 0 && unlockpt(terminal.number()) == 0);
    const Descriptor unread(open(ptsname(terminal.number()), O_RDWR | O_NOCTTY | O_CLOEXEC));
    OutputQueue queue(unread.number());
    for (int line = 0; line < 2000; ++line) {
        queue.add("one of many lines, more than fit into what a terminal keeps");
    }
}

TEST(OutputQueue, endsALineThatAFullDiskCutBeforeTheNext) {
    const QTemporaryDir folder;
    const std::filesystem::path file = folder.filePath("output").toStdString();
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit five{5, before.rlim_max};
    const auto signalBefore = std::signal(SIGXFSZ, SIG_IGN);
    for (int round = 0; round < 20; ++round) {
        const Descriptor output(open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
        {
            OutputQueue queue(output.number());
            setrlimit(RLIMIT_FSIZE, &five);
            queue.add("0123456789");
            EXPECT_TRUE(runMainLoopUntil([&] { return std::filesystem::file_size(file) == 5; }));
            setrlimit(RLIMIT_FSIZE, &before);
            queue.add("next");
        }
        // Where the disk had room again at once, nothing was cut.
        const std::string written = *readFile(file, 100);
        EXPECT_TRUE(written == "01234\nnext\n" || written == "0123456789\nnext\n") << written;
    }
    std::signal(SIGXFSZ, signalBefore);
}

TEST(State, filesThatCannotBeUsedAreRefusedAndLeftAlone) {
    const QTemporaryDir folder;
    const std::string path = folder.filePath("state.json").toStdString();
    const std::pair<std::string, const char*> table[] = {
        {R"({"routes":[1,2)", "damaged at byte"},
        {"[1]", "not a JSON object"},
        {R"({"inputs":{}})", "\"inputs\" is not a list"},
        {R"({"outputs":["a",7]})", "item 2 of \"outputs\""},
        {R"({"inputs":["a","b","c","d","e"]})", "5 input labels"},
        {R"({"outputs":["a","b","c","d"]})", "4 output labels"},
        {R"({"outputs":["a",")" + std::string(1025, 'x') + "\"]}", "output 2 is longer"},
        {R"({"routes":[1,1.5]})", "item 2 of \"routes\""},
        {R"({"routes":[-1]})", "item 1 of \"routes\""},
        {R"({"inputs":["a"],"routes":[5]})", "routed from input 5"},
        {R"({"routes":[1,1,1,1]})", "4 routes"},
        {R"({"input":[]})", "it holds \"input\""},
    };
    for (const auto& [text, reason] : table) {
        ASSERT_TRUE(replaceFile(path, text));
        VirtualMatrix matrix(4, 3);
        StateKeeper keeper(matrix, path, [](const std::string& trouble) { ADD_FAILURE() << trouble; });
        EXPECT_NE(keeper.load().failure().reason.find(reason), std::string::npos) << text;
        EXPECT_EQ(matrix.contents().inputLabels[0], "Input 1");
        matrix.route(1, 4);
        EXPECT_TRUE(keeper.stop());
        EXPECT_EQ(*readFile(path, 2000), text);
    }
    EXPECT_FALSE(readMatrixFile("/dev/zero"));
}

}  // namespace
}  // namespace velmora::test
