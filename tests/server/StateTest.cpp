#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>
#include <future>

#include "server/MatrixFile.h"
#include "server/StateKeeper.h"

namespace velmora {
namespace {

class State : public testing::Test {
  protected:
    std::string path() const { return directory_.filePath("state.json").toStdString(); }
    static void write(const std::string& path, const QByteArray& bytes) {
        QFile file(QString::fromStdString(path));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
    }
    static QByteArray bytesOf(const std::string& path) {
        QFile file(QString::fromStdString(path));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : "(none)";
    }
    static StateKeeper::Trouble noTrouble() {
        return [](const std::string& reason) { ADD_FAILURE() << reason; };
    }

    QTemporaryDir directory_;
};

TEST_F(State, ComesBackAfterARestartEvenInALargerMatrix) {
    {
        VirtualMatrix matrix(4, 3);
        StateKeeper keeper(matrix, path(), noTrouble());
        ASSERT_EQ(keeper.load(), std::nullopt);
        ASSERT_EQ(bytesOf(path()), "(none)") << "a start that fails elsewhere leaves no file";
        ASSERT_EQ(keeper.start(), std::nullopt);
        ASSERT_EQ(matrix.apply({{"\"Kamera\" \xF0\x9F\x8E\xA5 \\", ""}, {}, {}}), std::nullopt);
        for (int turn = 0; turn < 500; ++turn)
            ASSERT_TRUE(matrix.route(turn % 3 + 1, turn % 4 + 1));
        EXPECT_TRUE(keeper.stop());
    }
    VirtualMatrix matrix(5, 4);
    StateKeeper keeper(matrix, path(), noTrouble());
    ASSERT_EQ(keeper.load(), std::nullopt);
    const MatrixContents contents = matrix.contents();
    EXPECT_EQ(contents.inputLabels,
              (std::vector<std::string>{"\"Kamera\" \xF0\x9F\x8E\xA5 \\", "", "Input 3", "Input 4", "Input 5"}));
    EXPECT_EQ(contents.routes, (std::vector<int>{3, 4, 2, 4}));
    EXPECT_EQ(QDir(directory_.path()).entryList(QDir::Files), QStringList{"state.json"})
        << "nothing else is left behind";
}

TEST_F(State, IsWrittenWhileTheServerRunsAndTroubleIsToldOnce) {
    VirtualMatrix matrix(4, 3);
    std::promise<std::string> trouble;  // a second call would throw
    StateKeeper keeper(matrix, path(), [&trouble](const std::string& reason) { trouble.set_value(reason); });
    ASSERT_EQ(keeper.start(), std::nullopt);
    ASSERT_TRUE(directory_.remove());
    matrix.route(1, 2);
    auto told = trouble.get_future();
    ASSERT_EQ(told.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    EXPECT_NE(told.get(), "");
    matrix.route(1, 3);
    EXPECT_FALSE(keeper.stop());
}

TEST_F(State, FilesThatCannotBeUsedAreRefusedAndLeftAlone) {
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
        const auto bytes = QByteArray::fromStdString(text);
        write(path(), bytes);
        VirtualMatrix matrix(4, 3);
        StateKeeper keeper(matrix, path(), noTrouble());
        EXPECT_NE(keeper.load().value_or("").find(reason), std::string::npos) << text;
        EXPECT_EQ(matrix.contents().inputLabels[0], "Input 1");
        matrix.route(1, 4);
        EXPECT_TRUE(keeper.stop());
        EXPECT_EQ(bytesOf(path()), bytes);
    }
    MatrixContents contents;
    EXPECT_TRUE(readMatrixFile("/dev/zero", contents));
    EXPECT_TRUE(readMatrixFile(directory_.path().toStdString(), contents));
}

}  // namespace
}  // namespace velmora
