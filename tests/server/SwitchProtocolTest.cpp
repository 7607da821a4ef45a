#include "server/SwitchProtocol.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

TEST(SwitchProtocol, AnswersEachLine) {
    VirtualMatrix matrix(16, 20);
    const std::string hostile = "a\r\nb\tc\x7F\xC2\x85 e";
    ASSERT_EQ(matrix.apply({{"Kamera \xC3\xB6", "", hostile}, {"  Aux  "}, {}}), std::nullopt);
    int changes = 0;
    matrix.setChangeObserver([&changes] { ++changes; });
    const SwitchProtocol protocol(matrix);
    static const char* const exchanges[] = {
        // Output n starts on input n, and on input 1 again where the inputs end.
        "MATRIXSIZE>16x20", "GET 1>1 1", "GET 16>16 16", "GET 17>17 1", "GET 20>20 4",
        // Routes stay where they were set.
        "SET 3 16>OK", "GET 3>3 16", "SET 3 16>OK", "SET 20 1>OK", "GET 20>20 1", "REFRESH>OK", "GET 3>3 16",
        // Labels may be empty and hold anything but control characters.
        "INPUTLABEL 1>Kamera \xC3\xB6", "INPUTLABEL 2>", "INPUTLABEL 3>a  b c   e", "INPUTLABEL 16>Input 16",
        "OUTPUTLABEL 1>  Aux  ", "OUTPUTLABEL 20>Output 20"};
    static const std::string refused[] = {
        // Numbers that the matrix does not have.
        "GET 0", "GET 21", "GET -1", "GET 4294967297", "GET 99999999999999999999", "SET 21 1", "SET 1 17", "SET 0 1",
        "SET 1 0", "SET 4 -2147483648", "INPUTLABEL 17", "INPUTLABEL 0", "OUTPUTLABEL 21",
        // What is no number, or not written as one.
        "GET +1", "GET 01", "GET 1.0", "GET x", "GET 1x", "SET 1 2x",
        // Too few, too many and misplaced fields.
        "", " ", "GET", "GET ", "GET  1", "GET 1 ", " GET 1", "GET 1 1", "SET 1", "SET 1 2 3", "SET  1 2", "GET\t1",
        "MATRIXSIZE ", "MATRIXSIZE 1", "REFRESH 1",
        // Words that are none.
        "get 1", "GETX 1", "LABEL 1", std::string("GET 1\0", 6), "\xFF\xFB\x01"};
    const auto reply = [&protocol](std::string_view line) {
        std::string text = "before ";
        protocol.answer(line, text);
        return text;
    };
    for (const std::string_view exchange : exchanges) {
        const std::size_t arrow = exchange.find('>');
        EXPECT_EQ(reply(exchange.substr(0, arrow)), "before " + std::string(exchange.substr(arrow + 1))) << exchange;
    }
    for (const std::string& line : refused)
        EXPECT_EQ(reply(line), "before ERROR") << testing::PrintToString(line);
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
