// The lines of the protocol: cut out of the stream, answered, and answered wrongly on purpose.
#include "server/SwitchProtocol.h"

#include <gtest/gtest.h>

#include "server/LineReader.h"
#include "tests/support/VirtualSwitch.h"

namespace velmora::test {
namespace {

using Lines = std::vector<std::string>;

Lines read(std::string_view stream, std::size_t chunkSize) {
    LineReader reader;
    Lines lines;
    for (std::size_t at = 0; at < stream.size(); at += chunkSize) {
        std::string_view chunk = stream.substr(at, chunkSize);
        while (const auto line = reader.next(chunk)) {
            lines.push_back(std::string(line->text) + (line->tooLong ? "..." : ""));
        }
        EXPECT_TRUE(chunk.empty());
    }
    return lines;
}

TEST(LineReader, findsTheSameLinesAtEveryChunkSize) {
    const std::string longest(LineReader::kMaximumLength, 'x');
    const std::string rubbish("\0\x01\xFF\xFE\x1B[A\x80", 8);
    const std::pair<std::string, Lines> table[] = {
        {"A\n\rB\n\rC", {"A", "B"}},
        {"A\n\rB\r\nC\nD\rE\n", {"A", "B", "C", "D", "E"}},
        {"\n\n", {"", ""}},
        {"\r\r", {"", ""}},
        {"A\n\r\nB\r\n\r", {"A", "", "B", ""}},
        {rubbish + "\n\r" + rubbish + "\r", {rubbish, rubbish}},
        {longest + "\n\r" + longest + "y\n\rA\n\r", {longest, longest + "...", "A"}},
        {longest + longest + longest + "\r\nA\n", {longest + "...", "A"}},
    };
    for (const auto& [stream, lines] : table) {
        for (std::size_t size = 1; size <= std::min<std::size_t>(stream.size(), 40); ++size) {
            EXPECT_EQ(read(stream, size), lines) << testing::PrintToString(stream.substr(0, 40)) << " by " << size;
        }
        EXPECT_EQ(read(stream, stream.size()), lines);
    }
}

TEST(SwitchProtocol, answersEachLine) {
    VirtualMatrix matrix(16, 20);
    const std::string hostile = "a\r\nb\tc\x7F\xC2\x85 e";
    ASSERT_TRUE(matrix.apply({{"Kamera \xC3\xB6", "", hostile}, {"  Aux  "}, {}}));
    int changes = 0;
    matrix.setChangeObserver([&changes] { ++changes; });
    const SwitchProtocol protocol(matrix);
    static const std::string answered[] = {
        // The matrix, and routes before and after they are set.
        "MATRIXSIZE>16x20", "GET 1>1 1", "GET 16>16 16", "GET 17>17 1", "GET 20>20 4", "SET 3 16>OK", "GET 3>3 16",
        "SET 3 16>OK", "SET 20 1>OK", "GET 20>20 1", "REFRESH>OK", "GET 3>3 16",
        // Labels.
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
    for (const std::string& line : answered) {
        const std::size_t arrow = line.find('>');
        EXPECT_EQ(reply(line.substr(0, arrow)), "before " + line.substr(arrow + 1));
    }
    for (const std::string& line : refused) {
        EXPECT_EQ(reply(line), "before ERROR") << testing::PrintToString(line);
    }
    EXPECT_EQ(changes, 2) << "a route that is there already is no change";
}

TEST(FaultPlan, countsWhatEachFaultConcernsAndCombinesThoseThatAreDue) {
    FaultPlan plan({fault("delay=20@GET#2"), fault("pieces=3#3"), fault("wrong=A = B@SET"), fault("mute#2")});
    const auto summary = [&](std::string_view line) -> std::string {
        const auto delivery = plan.delivery(line, "1 2");
        if (!delivery) return "usual";
        return delivery->text + std::to_string(delivery->delay.count()) + "/" + std::to_string(delivery->pieceSize);
    };
    EXPECT_EQ(summary("GET 1"), "usual");
    EXPECT_EQ(summary("SET 1 2"), "A = B\r\n0/0");
    EXPECT_EQ(summary("GET 1"), "1 2\r\n20/3");
    EXPECT_EQ(summary("GET 1"), "usual");
    EXPECT_EQ(summary("SETTER"), "usual");
    EXPECT_FALSE(plan.nextConnectionIsMute());
    EXPECT_TRUE(plan.nextConnectionIsMute());
    EXPECT_FALSE(plan.nextConnectionIsMute());
    plan.set({fault("no-accept#2"), fault("delay=7#1")});
    EXPECT_FALSE(plan.acceptingIsHeld());
    EXPECT_FALSE(plan.nextConnectionIsMute());
    EXPECT_TRUE(plan.acceptingIsHeld());
    EXPECT_EQ(summary("rubbish"), "1 2\r\n7/0");
}

}  // namespace
}  // namespace velmora::test
