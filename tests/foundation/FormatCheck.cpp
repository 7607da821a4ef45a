// The first of these formats fits its arguments, and none of the others may compile.
#include "platform/foundation/Text.h"

constexpr const char* kFormats[] = {"%@: %04li %%", "%@:", "%@: %li %@", "%li: %@", "%@: %li %", "%@: %4li"};

std::string formatted() {
    return velmora::stringWithFormat(kFormats[FORMAT], "text", 5);
}
