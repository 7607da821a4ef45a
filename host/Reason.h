// Why the plugin refuses something: its results do not tell, its log does.
#pragma once

#include <string>

#include "platform/foundation/NSLog.h"
#include "platform/threads/MainThread.h"

namespace velmora {

// The last of the log lines written on the main thread while this lives. Main thread.
class Reason {
  public:
    std::string text() const { return text_.empty() ? "it gave no reason" : text_; }

  private:
    std::string text_;
    NSLogObservation observation_{[this](const std::string& line) {
        if (MainThread::isCurrent()) text_ = stringByEscapingControlCharacters(line);
    }};
};

}  // namespace velmora
