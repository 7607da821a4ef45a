#include "server/SwitchProtocol.h"

#include <charconv>
#include <optional>

namespace velmora {

namespace {

// Takes the text up to the next blank, and the blank, off the line.
std::string_view takeField(std::string_view& line) {
    const std::size_t end = line.find(' ');
    const std::string_view field = line.substr(0, end);
    line.remove_prefix(end == std::string_view::npos ? line.size() : end + 1);
    return field;
}

// A number from 1 on, written in the one way that is allowed; none for everything else.
std::optional<int> number(std::string_view field) {
    int value = 0;
    const char* const end = field.data() + field.size();
    const auto [parsed, failure] = std::from_chars(field.data(), end, value);
    if (failure != std::errc() || parsed != end || field.front() == '0' || value < 1) return std::nullopt;
    return value;
}

void append(int value, std::string& text) {
    char digits[12];
    text.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
}

}  // namespace

void SwitchProtocol::answer(std::string_view line, std::string& reply, std::string_view client) const {
    if (!answerKnown(line, reply, client)) reply += kError;
}

// False, with nothing appended, for a line that is not a request or names a number that the matrix does not have.
bool SwitchProtocol::answerKnown(std::string_view line, std::string& reply, std::string_view client) const {
    // The commands without arguments first: they are the whole line, so no blank may follow them.
    if (line == "REFRESH") {
        reply += kAcknowledgement;
        return true;
    }
    if (line == "MATRIXSIZE") {
        append(matrix_.inputs(), reply);
        reply += 'x';
        append(matrix_.outputs(), reply);
        return true;
    }
    const std::string_view command = takeField(line);
    if (command == "SET") {
        const auto output = number(takeField(line));
        const auto input = number(line);
        if (!output || !input || !matrix_.route(*output, *input, client)) return false;
        reply += kAcknowledgement;
        return true;
    }
    const auto argument = number(line);
    if (!argument) return false;
    if (command == "GET") {
        const auto input = matrix_.routedInput(*argument);
        if (!input) return false;
        append(*argument, reply);
        reply += ' ';
        append(*input, reply);
        return true;
    }
    if (command == "INPUTLABEL") return matrix_.appendInputLabel(*argument, reply);
    if (command == "OUTPUTLABEL") return matrix_.appendOutputLabel(*argument, reply);
    return false;
}

}  // namespace velmora
