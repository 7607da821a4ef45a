#include "host/Help.h"

#include <algorithm>

#include "host/ExitCode.h"

namespace velmora {

namespace {

constexpr std::size_t kColumns = 100;
// Where explanations begin, and where they do not.
constexpr std::size_t kTermColumn = 2;
constexpr std::size_t kTextColumn = 23;

// The words in lines that begin at this column, the first of which follows what is there already. A text that begins
// with blanks keeps its lines.
std::string wrapped(std::string_view text, std::string lines, std::size_t column) {
    std::size_t used = std::max(lines.size(), column);
    lines.resize(used, ' ');
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find(' ', at), text.size());
        const std::string_view word = text.substr(at, end - at);
        if (used > column && used + 1 + word.size() > kColumns) {
            lines += '\n' + std::string(column, ' ');
            used = column;
        } else if (used > column) {
            lines += ' ';
            ++used;
        }
        lines += word;
        used += word.size();
        at = end + 1;
    }
    return lines + '\n';
}

// A term and its explanation beside it, or below it when the term is too long.
std::string explained(const std::string& term, std::string_view text) {
    const std::string beginning = std::string(kTermColumn, ' ') + term;
    if (beginning.size() + 2 > kTextColumn) return beginning + '\n' + wrapped(text, "", kTextColumn);
    return wrapped(text, beginning + std::string(kTextColumn - beginning.size(), ' '), kTextColumn);
}

std::string explained(const OptionRow& option) {
    return explained("--" + std::string(option.name) + (option.value.empty() ? "" : " ") + std::string(option.value),
                     option.help);
}

// Each line of the text is a paragraph, but for those that begin with a blank, which stand as they are.
std::string paragraphs(std::string_view text) {
    std::string lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = text.substr(0, end);
        lines += line.starts_with(' ') ? std::string(line) + '\n' : wrapped(line, "", 0);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

std::string ending() {
    std::string text = "\nResults go to standard output, everything else to standard error.\n\nExit codes:\n";
    for (const ExitCodeRow& row : kExitCodes) {
        text += explained(std::to_string(static_cast<int>(row.code)), row.meaning);
    }
    return text;
}

}  // namespace

std::string helpOverview() {
    std::string text = paragraphs(
        "velmora-host - loads the Velmora Switch plugin as an automation host does, and uses it from the "
        "command line.\n\nUsage: velmora-host [OPTIONS] COMMAND [ARGUMENTS]\n\nCommands "
        "(\"velmora-host help COMMAND\" tells all about one, with its options):");
    for (const CommandRow& command : commandTable()) {
        text += explained(formOf(command), command.summary);
    }
    text += "\nOptions:\n";
    for (const OptionRow* const option : optionTable()) {
        text += explained(*option);
    }
    text += explained("--help", "this text; after a COMMAND all about that one");
    text += explained("--version", "the program's version");
    text += explained("--", "ends the options, for an argument that begins with \"-\"");
    return text + ending();
}

std::string helpOf(const CommandRow& command) {
    std::string text = wrapped(command.summary, "velmora-host " + std::string(command.word) + " -", 0);
    text +=
        "\nUsage: velmora-host " + std::string(command.options.empty() ? "" : "[OPTIONS] ") + formOf(command) + '\n';
    if (!command.help.empty()) text += '\n' + paragraphs(command.help);
    if (!command.options.empty()) text += "\nOptions:\n";
    for (const OptionRow* const option : command.options) {
        text += explained(*option);
    }
    return text + ending();
}

}  // namespace velmora
