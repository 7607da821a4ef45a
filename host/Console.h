// The program's two outputs: results on standard output, everything else on standard error. Main thread; complain may
// be called on any.
#pragma once

#include <string>
#include <string_view>

#include "host/ExitCode.h"

namespace velmora {

// One line of a result for a person, handed on at once; what a terminal would obey is made visible.
void printLine(std::string_view line);
// A whole text as it is, with its own line ends. What came from outside is already escaped in the text's own notation.
void printText(const std::string& text);
// Whether everything printed so far has left the program. Once false (a full disk, a closed pipe), it stays false.
bool outputIsGood();

// The exit code of a program that ends with this one as far as its results have left it; says so when they have not.
// What went wrong first counts.
ExitCode withOutput(ExitCode code);

// From here on a reader who closes the other end is no failure: the caller asks, and ends.
void letReaderGo();
bool isReaderGone();

// One message to the user on one line, after the program's name; what a terminal would obey is made visible.
void complain(std::string_view message);

}  // namespace velmora
