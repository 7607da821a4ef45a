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
    std::string path(const char* name = "state.json") const { return directory_.filePath(name).toStdString(); }
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
        ASSERT_EQ(keeper.start(), std::nullopt);
        ASSERT_EQ(matrix.apply({{"\"Kamera\" \xF0\x9F\x8E\xA5 \\", ""}, {}, {}}), std::nullopt);
        for (int turn = 0; turn < 500; ++turn)
            ASSERT_TRUE(matrix.route(turn % 3 + 1, turn % 4 + 1));
        EXPECT_TRUE(keeper.stop());
    }
    VirtualMatrix matrix(5, 4);
    StateKeeper keeper(matrix, path(), noTrouble());
    ASSERT_EQ(keeper.start(), std::nullopt);
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
    const std::string folder = path("folder");
    ASSERT_TRUE(QDir().mkpath(QString::fromStdString(folder)));
    StateKeeper keeper(matrix, folder + "/state.json",
                       [&trouble](const std::string& reason) { trouble.set_value(reason); });
    ASSERT_EQ(keeper.start(), std::nullopt);
    ASSERT_TRUE(QDir(QString::fromStdString(folder)).removeRecursively());
    matrix.route(1, 2);
    auto told = trouble.get_future();
    ASSERT_EQ(told.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    EXPECT_NE(told.get(), "");
    matrix.route(1, 3);
    EXPECT_FALSE(keeper.stop());
}

TEST_F(State, FilesThatCannotBeUsedAreRefusedAndLeftAlone) {
    static const struct {
        const char* bytes;
        const char* reason;
    } table[] = {
        {"", "damaged at byte"},
        {"{\"routes\":[1,2", "damaged at byte"},
        {"[1]", "not a JSON object"},
        {"{\"inputs\":{}}", "\"inputs\" is not a list"},
        {"{\"outputs\":[\"a\",7]}", "item 2 of \"outputs\""},
        {"{\"routes\":[1,1.5]}", "item 2 of \"routes\""},
        {"{\"routes\":[-1]}", "item 1 of \"routes\""},
        {"{\"routes\":[5]}", "routed from input 5"},
        {"{\"routes\":[1,1,1,1]}", "4 routes"},
        {"{\"input\":[]}", "it holds \"input\""},
    };
    for (const auto& row : table) {
        write(path(), row.bytes);
        VirtualMatrix matrix(4, 3);
        StateKeeper keeper(matrix, path(), noTrouble());
        const auto reason = keeper.start();
        ASSERT_TRUE(reason) << row.bytes;
        EXPECT_NE(reason->find(row.reason), std::string::npos) << *reason;
        matrix.route(1, 4);
        EXPECT_TRUE(keeper.stop());
        EXPECT_EQ(bytesOf(path()), row.bytes);
    }
    MatrixContents contents;
    EXPECT_TRUE(readMatrixFile("/dev/zero", contents));
    EXPECT_TRUE(readMatrixFile(directory_.path().toStdString(), contents));
}

}  // namespace
}  // namespace velmora
