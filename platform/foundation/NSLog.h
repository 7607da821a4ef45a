// The system log: one call is one line of fixed text with placeholders.
#pragma once

#include "platform/foundation/SystemLog.h"
#include "platform/foundation/Text.h"

namespace velmora {

// The format is checked as that of stringWithFormat is.
template <typename... Arguments>
void NSLog(std::type_identity_t<Format<std::integral<Arguments>...>> format, const Arguments&... arguments) {
    NSLogLine(stringWithFormat(format, arguments...));
}

}  // namespace velmora
