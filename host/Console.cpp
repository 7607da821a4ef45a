#include "host/Console.h"

#include <cerrno>
#include <cstdio>

#include "platform/foundation/Text.h"

namespace velmora {

namespace {

bool good = true;
bool readerMayGo = false;
bool readerIsGone = false;

}  // namespace

void printLine(std::string_view line) {
    printText(stringByEscapingControlCharacters(line) + '\n');
}

void printText(const std::string& text) {
    const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
    if (written) return;
    readerIsGone = readerIsGone || (readerMayGo && errno == EPIPE);
    good = readerIsGone && good;
}

bool outputIsGood() {
    return good;
}

ExitCode withOutput(ExitCode code) {
    if (outputIsGood()) return code;
    complain("the results could not be written to standard output");
    return code == ExitCode::done ? ExitCode::unusable : code;
}

void letReaderGo() {
    readerMayGo = true;
}

bool isReaderGone() {
    return readerIsGone;
}

void complain(std::string_view message) {
    std::fprintf(stderr, "velmora-host: %s\n", stringByEscapingControlCharacters(message).c_str());
}

}  // namespace velmora
