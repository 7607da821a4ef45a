// All that the command line knows of the program's commands and options, one row for each: reading the words, the help
// and the answers to mistakes come from here. Immutable; any thread.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "host/Options.h"
#include "platform/foundation/Result.h"

namespace velmora {

struct OptionRow {
    std::string_view name;   // without the dashes
    std::string_view value;  // what stands for its value in the help; "" for an option without one
    std::string_view help;   // one paragraph of plain words
    // Puts the value into the options; a failure is a whole sentence without a full stop.
    Result<void> (*take)(Options& options, const std::string& value);
};

struct CommandRow {
    CommandName name;
    std::string_view word;
    std::string_view arguments;  // their form; "" for none
    std::size_t least;           // number of arguments
    std::size_t most;
    std::vector<const OptionRow*> options;  // the ones that it takes, in the order of its help
    std::string_view summary;               // a line of the overview
    std::string_view help;                  // paragraphs, separated by empty lines; "" when the summary says all
    // Null, or what else must hold for the arguments and options; a failure as above.
    Result<void> (*check)(const Options& options) = nullptr;
};

inline constexpr std::size_t kAnyNumber = static_cast<std::size_t>(-1);

// In the order of the overview.
const std::vector<CommandRow>& commandTable();
// Every option of any command, in the order of the overview.
const std::vector<const OptionRow*>& optionTable();

// Null when there is none.
const CommandRow* commandWithWord(std::string_view word);
const OptionRow* optionWithName(std::string_view name);
const CommandRow& rowOf(CommandName name);
bool takes(const CommandRow& command, const OptionRow& option);
// Of words that are neither NAME and VALUE nor all NAME=VALUE: the command is wrong, whatever the attributes are.
Result<void> checkSteps(const std::vector<std::string>& words);
// "set NAME VALUE"
std::string formOf(const CommandRow& command);

}  // namespace velmora
