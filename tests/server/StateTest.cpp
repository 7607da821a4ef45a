#include <gtest/gtest.h>

#include <QDir>
#include <QTemporaryDir>
#include <fstream>
#include <future>
#include <sstream>

#include "server/MatrixFile.h"
#include "server/StateKeeper.h"
#include "tests/support/MainLoop.h"

namespace velmora {

TEST(State, isWrittenWhileTheServerRunsAndTroubleIsToldOnceAndMended) {
    QTemporaryDir folder;
    const std::string path = folder.filePath("state.json").toStdString();
    VirtualMatrix matrix(4, 3);
    std::promise<std::string> troubles[2];
    int told = 0;  // a third would crash
    StateKeeper keeper(matrix, path, [&](const std::string& reason) { troubles[told++].set_value(reason); });
    ASSERT_TRUE(keeper.lock());
    ASSERT_TRUE(keeper.start());
    for (std::promise<std::string>& trouble : troubles) {
        ASSERT_TRUE(folder.remove());
        matrix.route(1, matrix.routedInput(1).value() + 1);
        auto reason = trouble.get_future();
        ASSERT_EQ(reason.wait_for(std::chrono::seconds(30)), std::future_status::ready);
        EXPECT_EQ(reason.get(), "No such file or directory");
        if (&trouble == &troubles[1]) break;
        // Nothing changes any more, and yet it is written.
        ASSERT_TRUE(QDir().mkpath(folder.path()));
        EXPECT_TRUE(test::runMainLoopUntil([&] {
            const auto kept = readMatrixFile(path);
            return kept && kept->routes[0] == 2;
        }));
    }
    EXPECT_EQ(keeper.stop().failure().reason, "No such file or directory");
}

TEST(State, filesThatCannotBeUsedAreRefusedAndLeftAlone) {
    const QTemporaryDir folder;
    const std::string path = folder.filePath("state.json").toStdString();
    const std::pair<std::string, const char*> table[] = {
        {"", "damaged at byte"},
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
        std::ofstream(path) << text;
        VirtualMatrix matrix(4, 3);
        StateKeeper keeper(matrix, path, [](const std::string& trouble) { ADD_FAILURE() << trouble; });
        EXPECT_NE(keeper.load().failure().reason.find(reason), std::string::npos) << text;
        EXPECT_EQ(matrix.contents().inputLabels[0], "Input 1");
        matrix.route(1, 4);
        EXPECT_TRUE(keeper.stop());
        std::ostringstream kept;
        kept << std::ifstream(path).rdbuf();
        EXPECT_EQ(kept.str(), text);
    }
    EXPECT_FALSE(readMatrixFile("/dev/zero"));
}

}  // namespace velmora
