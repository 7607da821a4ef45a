#include "server/SwitchProtocol.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

TEST(SwitchProtocol, AnswersEachLine) {
    VirtualMatrix matrix(16, 20);
    ASSERT_EQ(matrix.apply({{"Kamera \xC3\xB6", "",
                             "a\r\nb\tc\x7F\xC2\x85"
                             "d"},
                            {"  Aux  "},
                            {}}),
              std::nullopt);
    int changes = 0;
    matrix.setChangeObserver([&changes] { ++changes; });
    const SwitchProtocol protocol(matrix);
    static const struct {
        std::string line;
        const char* reply;
    } table[] = {
        {"MATRIXSIZE", "16x20"},
        {"REFRESH", "OK"},
        // Output n starts on input n, and on input 1 again where the inputs end.
        {"GET 1", "1 1"},
        {"GET 16", "16 16"},
        {"GET 17", "17 1"},
        {"GET 20", "20 4"},
        {"SET 3 16", "OK"},
        {"GET 3", "3 16"},
        {"SET 3 16", "OK"},
        {"SET 20 1", "OK"},
        {"GET 20", "20 1"},
        {"INPUTLABEL 1", "Kamera \xC3\xB6"},
        {"INPUTLABEL 2", ""},
        {"INPUTLABEL 3", "a  b c  d"},
        {"INPUTLABEL 16", "Input 16"},
        {"OUTPUTLABEL 1", "  Aux  "},
        {"OUTPUTLABEL 20", "Output 20"},
        // Numbers that the matrix does not have.
        {"GET 0", "ERROR"},
        {"GET 21", "ERROR"},
        {"GET -1", "ERROR"},
        {"GET 4294967297", "ERROR"},
        {"GET 99999999999999999999", "ERROR"},
        {"SET 21 1", "ERROR"},
        {"SET 1 17", "ERROR"},
        {"SET 0 1", "ERROR"},
        {"SET 1 0", "ERROR"},
        {"SET 4 -2147483648", "ERROR"},
        {"INPUTLABEL 17", "ERROR"},
        {"INPUTLABEL 0", "ERROR"},
        {"OUTPUTLABEL 21", "ERROR"},
        // What is no number, or not written as one.
        {"GET +1", "ERROR"},
        {"GET 01", "ERROR"},
        {"GET 1.0", "ERROR"},
        {"GET x", "ERROR"},
        {"GET 1x", "ERROR"},
        {"SET 1 2x", "ERROR"},
        // Too few, too many and misplaced fields.
        {"", "ERROR"},
        {" ", "ERROR"},
        {"GET", "ERROR"},
        {"GET ", "ERROR"},
        {"GET  1", "ERROR"},
        {"GET 1 ", "ERROR"},
        {" GET 1", "ERROR"},
        {"GET 1 1", "ERROR"},
        {"SET 1", "ERROR"},
        {"SET 1 2 3", "ERROR"},
        {"SET  1 2", "ERROR"},
        {"GET\t1", "ERROR"},
        {"MATRIXSIZE ", "ERROR"},
        {"MATRIXSIZE 1", "ERROR"},
        {"REFRESH 1", "ERROR"},
        // Words that are none.
        {"get 1", "ERROR"},
        {"GETX 1", "ERROR"},
        {"LABEL 1", "ERROR"},
        {std::string("GET 1\0", 6), "ERROR"},
        {"\xFF\xFB\x01", "ERROR"},
        {"GET 4", "4 4"},
    };
    for (const auto& row : table) {
        std::string reply = "before ";
        protocol.answer(row.line, reply);
        EXPECT_EQ(reply, std::string("before ") + row.reply) << testing::PrintToString(row.line);
    }
    EXPECT_EQ(changes, 2) << "a route that is there already is no change";
}

TEST(VirtualMatrix, RefusesContentsThatDoNotFitAndKeepsItsOwn) {
    VirtualMatrix matrix(2, 3);
    const auto before = matrix.contents();
    static const struct {
        MatrixContents contents;
        const char* reason;
    } table[] = {
        {{{"a", "b", "c"}, {}, {}}, "3 input labels"},
        {{{}, {"a", "b", "c", "d"}, {}}, "4 output labels"},
        {{{"a"}, {}, {1, 1, 1, 1}}, "4 routes"},
        {{{"a"}, {"b"}, {1, 3}}, "output 2 is routed from input 3"},
        {{{"a"}, {}, {0}}, "output 1"},
        {{{"a", std::string(1025, 'x')}, {}, {}}, "input 2 is longer"},
        {{{"a"}, {"\xC3"}, {}}, "output 1 is not UTF-8"},
    };
    for (const auto& row : table) {
        const auto reason = matrix.apply(row.contents);
        ASSERT_TRUE(reason) << row.reason;
        EXPECT_NE(reason->find(row.reason), std::string::npos) << *reason;
    }
    EXPECT_EQ(matrix.contents().inputLabels, before.inputLabels);
    EXPECT_EQ(matrix.contents().outputLabels, before.outputLabels);
    EXPECT_EQ(matrix.contents().routes, before.routes);
    EXPECT_EQ(matrix.apply({{"a", std::string(1024, 'x')}, {}, {2}}), std::nullopt);
    EXPECT_EQ(matrix.contents().routes, (std::vector<int>{2, 2, 1}));
}

}  // namespace
}  // namespace velmora
