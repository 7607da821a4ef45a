#include "host/Console.h"

#include <cstdio>

#include "platform/foundation/Text.h"

namespace velmora {

namespace {

bool good = true;

}  // namespace

void printLine(std::string_view line) {
    printText(stringByEscapingControlCharacters(line) + '\n');
}

void printText(const std::string& text) {
    const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
    good = std::fflush(stdout) == 0 && written && good;
}

bool outputIsGood() {
    return good;
}

void complain(std::string_view message) {
    std::fprintf(stderr, "velmora-host: %s\n", stringByEscapingControlCharacters(message).c_str());
}

}  // namespace velmora
