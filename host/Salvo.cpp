#include "host/Salvo.h"

#include <algorithm>

#include "host/Blanks.h"
#include "host/Quotes.h"
#include "platform/foundation/Joined.h"
#include "platform/foundation/Text.h"

namespace velmora {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

bool saysNothing(std::string_view line) {
    return line.starts_with('#') || withoutOuterBlanks(line).empty();
}

Failure failureInLine(std::size_t number, const std::string& what) {
    return {"line " + std::to_string(number) + ": " + what};
}

}  // namespace

Result<std::vector<SalvoLine>> salvoLines(std::string_view document) {
    if (document.size() > kSalvoByteLimit)
        return Failure{"it is longer than " + std::to_string(kSalvoByteLimit) + " bytes"};
    if (document.starts_with(kByteOrderMark)) document.remove_prefix(kByteOrderMark.size());
    std::vector<SalvoLine> lines;
    for (std::size_t number = 1; !document.empty(); ++number) {
        const std::size_t end = std::min(document.find('\n'), document.size());
        std::string_view line = document.substr(0, end);
        document.remove_prefix(std::min(end + 1, document.size()));
        if (line.ends_with('\r')) line.remove_suffix(1);
        if (!isValidUTF8(line)) return failureInLine(number, "it is not UTF-8");
        if (saysNothing(line)) continue;
        if (hasControlCharacter(line)) return failureInLine(number, "there is a control character in it");
        if (line.find('=') == std::string_view::npos) return failureInLine(number, "NAME=VALUE is wanted");
        if (lines.size() == kMaximumSalvoSteps)
            return failureInLine(number, "no more than " + std::to_string(kMaximumSalvoSteps) + " steps are taken");
        lines.push_back({number, std::string(line)});
    }
    return lines;
}

std::vector<SalvoStep> splitsOf(std::string_view line) {
    std::vector<SalvoStep> splits;
    for (std::size_t at = line.find('='); at != std::string_view::npos; at = line.find('=', at + 1)) {
        splits.push_back({std::string(line.substr(0, at)), std::string(line.substr(at + 1))});
    }
    return splits;
}

Result<SalvoStep> stepInLine(std::string_view line, const std::function<bool(const std::string&)>& isName) {
    const auto splits = splitsOf(line);
    const auto knownOf = [&](std::vector<SalvoStep> steps) {
        std::erase_if(steps, [&](const SalvoStep& step) { return !isName(step.name); });
        return steps;
    };
    auto known = knownOf(splits);
    if (known.empty()) {
        auto bare = splits;
        for (SalvoStep& step : bare) {
            step.name = withoutOuterBlanks(step.name);
        }
        known = knownOf(std::move(bare));
    }
    if (known.size() == 1) return known.front();
    const auto quotedName = [](const SalvoStep& split) { return inQuotes(split.name); };
    if (known.empty()) return Failure{"there is no attribute " + joined(splits, quotedName)};
    return Failure{"it may mean each of the attributes " + joined(known, quotedName)};
}

Result<Salvo> salvoInDocument(std::string_view document,
                              const std::function<Result<SalvoStep>(const std::string&)>& stepIn) {
    const auto lines = salvoLines(document);
    if (!lines) return lines.failure();
    Salvo salvo;
    for (const SalvoLine& line : *lines) {
        auto step = stepIn(line.text);
        if (!step) return failureInLine(line.number, step.failure().reason);
        salvo.push_back(*std::move(step));
    }
    return salvo;
}

Result<std::string> documentWithSalvo(const Salvo& salvo) {
    std::string document;
    for (const SalvoStep& step : salvo) {
        const std::string line = step.name + '=' + step.value;
        if (saysNothing(line) || hasControlCharacter(line) || !isValidUTF8(line))
            return Failure{"the value of " + inQuotes(step.name) + " cannot be written on a line"};
        document += line + '\n';
    }
    return document;
}

}  // namespace velmora
