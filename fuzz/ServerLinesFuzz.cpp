// The server's side of the wire: lines cut out of a stream that arrives in chunks, and the answer to each.
//
// The input is a label, then the chunks of the stream, each after a "|".
#include "fuzz/Fuzz.h"
#include "server/LineReader.h"
#include "server/SwitchProtocol.h"

namespace velmora::fuzz {
namespace {

using Texts = std::vector<std::string>;

struct Line {
    std::string text;
    bool tooLong;
    friend bool operator==(const Line&, const Line&) = default;
};

std::vector<Line> linesIn(const Texts& chunks) {
    LineReader reader;
    std::vector<Line> lines;
    for (const std::string& arrived : chunks) {
        std::string_view chunk = arrived;
        while (const auto line = reader.next(chunk))
            lines.push_back({std::string(line->text), line->tooLong});
        require(chunk.empty(), "every chunk is taken to its end");
    }
    return lines;
}

std::vector<Line> checkReader(const Texts& chunks) {
    std::string stream;
    for (const std::string& chunk : chunks)
        stream += chunk;
    Texts bytes;
    for (const char byte : stream)
        bytes.emplace_back(1, byte);
    auto lines = linesIn(chunks);
    require(lines == linesIn({stream}), "the lines are the same when the stream comes at once");
    require(lines == linesIn(bytes), "the lines are the same when it comes byte by byte");

    // The stream consists of the lines and their ends and nothing else, except for the rest of lines that are too long.
    std::size_t at = 0;
    for (const auto& [text, tooLong] : lines) {
        require(text.size() <= LineReader::kMaximumLength, "a line is bounded");
        require(!tooLong || text.size() == LineReader::kMaximumLength, "only a long line is cut");
        require(text.find_first_of("\r\n") == std::string::npos, "a line holds no line end");
        at = stream.find(text, at);
        require(at != std::string::npos, "a line holds what has arrived");
        const std::size_t end = stream.find_first_of("\r\n", at);
        require(end != std::string::npos && (end - at == text.size()) != tooLong, "a line ends where it does");
        at = end + 1;
    }
    return lines;
}

std::string text(int number) {
    return std::to_string(number);
}

std::vector<int> routesIn(const VirtualMatrix& matrix) {
    std::vector<int> routes;
    for (int output = 1; output <= matrix.outputs(); ++output)
        routes.push_back(matrix.routedInput(output).value_or(0));
    return routes;
}

void checkAnswer(const VirtualMatrix& matrix, const SwitchProtocol& protocol, const std::string& line) {
    const auto routes = routesIn(matrix);
    std::string reply = "before ";
    protocol.answer(line, reply);
    require(reply.starts_with("before "), "an answer is appended");
    reply.erase(0, 7);
    require(reply.find_first_of("\r\n") == std::string::npos && isValidUTF8(reply), "an answer is one line of text");
    const auto now = routesIn(matrix);
    for (std::size_t i = 0; i < routes.size(); ++i) {
        const std::string output = text(static_cast<int>(i + 1));
        if (now[i] != routes[i])
            require(line == "SET " + output + " " + text(now[i]) && reply == "OK", "only this command routes");
        if (line == "GET " + output) require(reply == output + " " + text(now[i]), "the route is told as it is");
    }
    if (line.starts_with("SET ") && reply == "OK") {
        std::string again;
        protocol.answer("GET " + line.substr(4, line.find(' ', 4) - 4), again);
        require("SET " + again == line, "a route is there as soon as it is acknowledged");
    }
}

}  // namespace
}  // namespace velmora::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace velmora;
    auto chunks = componentsSeparatedByString(fuzz::asText(data, size), "|");
    VirtualMatrix matrix(3, 12);
    const std::string label = chunks.front();
    const bool fits = label.size() <= VirtualMatrix::kMaximumLabelBytes && isValidUTF8(label);
    fuzz::require(static_cast<bool>(matrix.apply({{label}, {"", label}, {}})) == fits,
                  "a label is accepted when it fits");
    chunks.erase(chunks.begin());
    const SwitchProtocol protocol(matrix);
    for (const auto& line : fuzz::checkReader(chunks))
        fuzz::checkAnswer(matrix, protocol, line.text);
    return 0;
}
