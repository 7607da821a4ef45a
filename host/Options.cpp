#include "host/Options.h"

#include <algorithm>

#include "host/CommandTable.h"
#include "host/Help.h"
#include "host/Nearest.h"
#include "host/Quotes.h"
#include "platform/foundation/Joined.h"
#include "platform/foundation/Text.h"

namespace velmora {

namespace {

struct GivenOption {
    const OptionRow* row;
    std::string value;
};

// The command line, sorted but not yet understood.
struct Words {
    std::vector<std::string> arguments;  // the first one is the command
    std::vector<GivenOption> options;
    bool help = false;
    bool version = false;
};

Failure wrongUsage(const std::string& what, const CommandRow* command = nullptr) {
    const std::string help = command != nullptr ? "help " + std::string(command->word) : "--help";
    return {what + (what.ends_with('?') ? " " : "; ") + "\"velmora-host " + help + "\" explains " +
            (command != nullptr ? "it" : "commands and options")};
}

// "; did you mean "get"?", or "" when nothing is near.
std::string guess(const std::string& typed, const std::vector<std::string_view>& words, const char* dashes = "") {
    const auto nearest = nearestWord(typed, words);
    return nearest ? "; did you mean " + inQuotes(dashes + std::string(*nearest)) + '?' : "";
}

Failure unknownCommand(const std::string& word) {
    std::vector<std::string_view> words;
    for (const CommandRow& row : commandTable()) {
        words.push_back(row.word);
    }
    const std::string meant = guess(word, words);
    const std::string what = "there is no command " + inQuotes(word);
    return wrongUsage(meant.empty() ? what + "; the commands are: " + joined(words) : what + meant);
}

Failure unknownOption(const std::string& typed, const std::string& name) {
    std::vector<std::string_view> words = {"help", "version"};
    for (const OptionRow* const row : optionTable()) {
        words.push_back(row->name);
    }
    return wrongUsage("there is no option " + inQuotes(typed) + guess(name, words, "--"));
}

class WordSorter {
  public:
    explicit WordSorter(std::vector<std::string> words) : words_(std::move(words)) {}

    Result<Words> sorted() {
        while (at_ < words_.size()) {
            const std::string word = words_[at_++];
            if (onlyArguments_ || word == "-" || !word.starts_with('-')) {
                sorted_.arguments.push_back(word);
            } else if (word == "--") {
                onlyArguments_ = true;
            } else if (const auto taken = takeOption(word); !taken) {
                return taken.failure();
            }
        }
        return std::move(sorted_);
    }

  private:
    Result<void> takeOption(const std::string& word) {
        const std::size_t sign = std::min(word.find('='), word.size());
        const std::string typed = word.substr(0, sign);
        const bool hasValue = sign < word.size();
        const bool isHelp = typed == "--help" || typed == "-h";
        const std::string name = typed.substr(std::min<std::size_t>(typed.find_first_not_of('-'), typed.size()));
        const OptionRow* const row = typed.starts_with("--") ? optionWithName(name) : nullptr;
        if (row == nullptr && !isHelp && typed != "--version") return unknownOption(typed, name);
        if (hasValue && (row == nullptr || row->value.empty())) return wrongUsage(typed + " takes no value");
        if (row == nullptr) {
            (isHelp ? sorted_.help : sorted_.version) = true;
            return {};
        }
        if (!hasValue && !row->value.empty() && at_ == words_.size())
            return wrongUsage(typed + " needs a value: " + typed + ' ' + std::string(row->value));
        std::string value;
        if (!row->value.empty()) value = hasValue ? word.substr(sign + 1) : words_[at_++];
        sorted_.options.push_back({row, std::move(value)});
        return {};
    }

    const std::vector<std::string> words_;
    std::size_t at_ = 0;
    bool onlyArguments_ = false;
    Words sorted_;
};

// What is printed instead of running a command; "" for nothing.
Result<std::string> information(const Words& words) {
    if (words.version) return std::string("velmora-host " VELMORA_VERSION "\n");
    const auto& arguments = words.arguments;
    const bool asksForHelp = words.help || (!arguments.empty() && arguments[0] == rowOf(CommandName::help).word);
    if (!asksForHelp) return std::string();
    const std::size_t subject = words.help ? 0 : 1;
    if (arguments.size() <= subject) return helpOverview();
    const CommandRow* const command = commandWithWord(arguments[subject]);
    if (command == nullptr) return unknownCommand(arguments[subject]);
    return helpOf(*command);
}

Failure foreignOption(const CommandRow& command, const OptionRow& option) {
    std::vector<std::string_view> takers;
    for (const CommandRow& each : commandTable()) {
        if (takes(each, option)) takers.push_back(each.word);
    }
    return wrongUsage(inQuotes(command.word) + " does not take --" + std::string(option.name) +
                          ", which is an option of " + joined(takers, inQuotes),
                      &command);
}

Result<Options> understood(Words words) {
    if (words.arguments.empty()) return wrongUsage("no command given");
    const CommandRow* const command = commandWithWord(words.arguments.front());
    if (command == nullptr) return unknownCommand(words.arguments.front());
    Options options;
    options.command = command->name;
    options.arguments.assign(words.arguments.begin() + 1, words.arguments.end());
    for (const auto& [row, value] : words.options) {
        if (!takes(*command, *row)) return foreignOption(*command, *row);
        if (const auto taken = row->take(options, value); !taken) return wrongUsage(taken.failure().reason);
    }
    const std::size_t count = options.arguments.size();
    if (count < command->least || count > command->most)
        return wrongUsage("the command is " + inQuotes(formOf(*command)), command);
    const auto checked = command->check != nullptr ? command->check(options) : Result<void>();
    if (!checked) return wrongUsage(checked.failure().reason, command);
    return options;
}

}  // namespace

Result<Options> parseOptions(int argc, const char* const* argv) {
    for (int i = 1; i < argc; ++i) {
        if (!isValidUTF8(argv[i])) return wrongUsage("an argument is not UTF-8: " + inQuotes(argv[i]));
    }
    auto words = WordSorter({argv + std::min(argc, 1), argv + argc}).sorted();
    if (!words) return words.failure();
    const auto text = information(*words);
    if (!text) return text.failure();
    if (text->empty()) return understood(*std::move(words));
    Options options;
    options.information = *text;
    return options;
}

}  // namespace velmora
