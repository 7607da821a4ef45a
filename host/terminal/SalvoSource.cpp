#include "host/terminal/SalvoSource.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>

#include "host/Blanks.h"
#include "host/Quotes.h"
#include "platform/foundation/FileContents.h"

namespace velmora {

namespace {

Result<std::string> standardInput() {
    std::string contents;
    std::array<char, 4096> buffer{};
    while (contents.size() <= kSalvoByteLimit) {
        const ssize_t count = read(STDIN_FILENO, buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return failureOfSystem(errno);
        if (count == 0) break;
        contents.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return contents;
}

}  // namespace

Result<void> takeSteps(Options& options) {
    if (options.command == CommandName::set) {
        for (const std::string& word : options.arguments) {
            options.steps.push_back({0, word});
        }
    }
    if (options.command != CommandName::apply) return {};
    const std::string& file = options.arguments.front();
    const auto contents = file == "-" ? standardInput() : readFile(file, kSalvoByteLimit);
    const std::string name = file == "-" ? "the salvo on standard input" : "the salvo " + inQuotes(file);
    std::error_code unknown;
    const char* const hint = std::filesystem::is_fifo(file, unknown) ? "; \"-\" reads a pipe on standard input" : "";
    if (!contents) return Failure{name + " cannot be read: " + contents.failure().reason + hint};
    auto lines = salvoLines(*contents);
    if (!lines) return Failure{name + " cannot be used: " + lines.failure().reason};
    if (lines->empty()) return Failure{name + " holds no values"};
    options.steps = *std::move(lines);
    return {};
}

std::optional<std::vector<std::string>> namesAskedFor(const Options& options) {
    // Defaults are meant for all.
    if (options.defaults || options.all) return std::nullopt;
    std::vector<std::string> names;
    switch (options.command) {
        case CommandName::servers:
        case CommandName::status:
            return names;
        case CommandName::possible:
        case CommandName::get:
            return options.arguments;
        case CommandName::set:
        case CommandName::apply:
            break;
        default:
            return std::nullopt;
    }
    if (options.command == CommandName::set) names.push_back(options.arguments.front());
    for (const SalvoLine& line : options.steps) {
        for (const SalvoStep& split : splitsOf(line.text)) {
            names.push_back(split.name);
            names.emplace_back(withoutOuterBlanks(split.name));
        }
    }
    return names;
}

}  // namespace velmora
