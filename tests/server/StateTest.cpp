#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <fstream>
#include <future>
#include <sstream>

#include "server/MatrixFile.h"
#include "server/StateKeeper.h"

namespace velmora {

TEST(State, IsWrittenWhileTheServerRunsAndTroubleIsToldOnce) {
    QTemporaryDir folder;
    const std::string path = folder.filePath("state.json").toStdString();
    VirtualMatrix matrix(4, 3);
    std::promise<std::string> trouble;  // a second call would throw
    StateKeeper keeper(matrix, path, [&trouble](const std::string& reason) { trouble.set_value(reason); });
    ASSERT_EQ(keeper.start(), std::nullopt);
    ASSERT_TRUE(folder.remove());
    matrix.route(1, 2);
    auto told = trouble.get_future();
    ASSERT_EQ(told.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    EXPECT_NE(told.get(), "");
    matrix.route(1, 3);
    EXPECT_FALSE(keeper.stop());
}

TEST(State, FilesThatCannotBeUsedAreRefusedAndLeftAlone) {
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
        EXPECT_NE(keeper.load().value_or("").find(reason), std::string::npos) << text;
        EXPECT_EQ(matrix.contents().inputLabels[0], "Input 1");
        matrix.route(1, 4);
        EXPECT_TRUE(keeper.stop());
        std::ostringstream kept;
        kept << std::ifstream(path).rdbuf();
        EXPECT_EQ(kept.str(), text);
    }
    MatrixContents contents;
    EXPECT_TRUE(readMatrixFile("/dev/zero", contents));
    EXPECT_TRUE(readMatrixFile(folder.path().toStdString(), contents));
}

}  // namespace velmora
