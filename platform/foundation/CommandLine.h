// The words of a program's command line.
#pragma once

#include <QStringList>

#include "platform/foundation/QtText.h"
#include "platform/foundation/Result.h"
#include "platform/foundation/Text.h"

namespace velmora {

// A failure when one is not UTF-8: Qt would put U+FFFD into it, and so make it the name of another file.
inline Result<QStringList> wordsOfCommandLine(int argc, const char* const* argv) {
    QStringList words;
    for (int i = 0; i < argc; ++i) {
        if (!isValidUTF8(argv[i])) return Failure{stringWithFormat("an argument is not UTF-8: \"%@\"", argv[i])};
        words << qString(argv[i]);
    }
    return words;
}

}  // namespace velmora
