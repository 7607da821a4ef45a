// The program's two outputs: results on standard output, everything else on standard error. Main thread, but for
// complain and inQuotes, which any thread may call.
#pragma once

#include <string>
#include <string_view>

namespace velmora {

// One line of a result for a person, handed on at once; what a terminal would obey is made visible.
void printLine(std::string_view line);
// A whole text as it is, with its own line ends: what in it came from outside is in the text's own notation by now.
void printText(const std::string& text);
// Whether everything printed so far has left the program; false for good once it did not (a full disk, a closed pipe).
bool outputIsGood();

// One message to the user on one line, after the program's name; what a terminal would obey is made visible.
void complain(std::string_view message);

// The text between quotation marks, otherwise as it is: whoever shows the message makes it safe to show.
std::string inQuotes(std::string_view text);

}  // namespace velmora
