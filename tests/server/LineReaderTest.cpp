#include "server/LineReader.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace velmora {
namespace {

using Lines = std::vector<std::string>;

Lines read(std::string_view stream, std::size_t chunkSize) {
    LineReader reader;
    Lines lines;
    for (std::size_t at = 0; at < stream.size(); at += chunkSize) {
        std::string_view chunk = stream.substr(at, chunkSize);
        while (const auto line = reader.next(chunk))
            lines.push_back(std::string(line->text) + (line->tooLong ? "..." : ""));
        EXPECT_TRUE(chunk.empty());
    }
    return lines;
}

TEST(LineReader, FindsTheSameLinesAtEveryChunkSize) {
    const std::string longest(LineReader::maximumLength, 'x');
    const std::string rubbish("\0\x01\xFF\xFE\x1B[A\x80", 8);
    static const struct {
        std::string stream;
        Lines lines;
    } table[] = {
        {"A\n\rB\n\rC", {"A", "B"}},
        {"A\r\nB\r\n", {"A", "B"}},
        {"A\nB\n", {"A", "B"}},
        {"A\rB\r", {"A", "B"}},
        {"A\n\rB\r\nC\nD\rE\n", {"A", "B", "C", "D", "E"}},
        {"\n\r\n\r", {"", ""}},
        {"\r\n\r\n", {"", ""}},
        {"\n\n", {"", ""}},
        {"\r\r", {"", ""}},
        {"A\n\r\nB\r\n\r", {"A", "", "B", ""}},
        {rubbish + "\n\r" + rubbish + "\r", {rubbish, rubbish}},
        {longest + "\n\r" + longest + "y\n\rA\n\r", {longest, longest + "...", "A"}},
        {longest + longest + longest + "\r\nA\n", {longest + "...", "A"}},
    };
    for (const auto& row : table) {
        for (std::size_t size = 1; size <= std::min<std::size_t>(row.stream.size(), 40); ++size)
            EXPECT_EQ(read(row.stream, size), row.lines)
                << testing::PrintToString(row.stream.substr(0, 40)) << " by " << size;
        EXPECT_EQ(read(row.stream, row.stream.size()), row.lines);
    }
}

TEST(LineReader, GivesOutALineAtTheFirstByteOfItsEnd) {
    EXPECT_EQ(read("GET 1\n", 1), Lines{"GET 1"});
    EXPECT_EQ(read("GET 1\r", 6), Lines{"GET 1"});
    EXPECT_EQ(read("GET 1", 2), Lines{});
}

}  // namespace
}  // namespace velmora
