// The program's two outputs: results on standard output, everything else on standard error. Main thread only.
#pragma once

#include <string>
#include <string_view>

namespace velmora {

// One line of a result, handed on at once. What came from outside is escaped by the caller where the line is for a
// person.
void printLine(std::string_view line);
// A whole text that brings its own line ends.
void printText(std::string_view text);
// Whether everything printed so far has left the program; false for good once it did not (a full disk, a closed pipe).
bool outputIsGood();

// One message to the user, after the program's name.
void complain(std::string_view message);

// The text between quotation marks, control characters made visible: names come from the network.
std::string inQuotes(std::string_view text);

}  // namespace velmora
