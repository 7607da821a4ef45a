// Whether the plugin's connection to its switch server has ended, and why. The host protocol has no word for it, and a
// value that nobody answered reads as the first input: the plugin's log lines are the one sign.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "platform/foundation/NSLog.h"
#include "platform/threads/ThreadAnnotations.h"

namespace velmora {

// Listens while it lives. Its operations are for the main thread.
class ConnectionWatch {
  public:
    // `selecting` is called on the main thread when the plugin turns to a server, in the midst of a log line: nothing
    // may be logged there.
    explicit ConnectionWatch(std::function<void()> selecting = nullptr);

    // None while nothing tells of an end, as before the first connection. "" when the server has ended the connection,
    // otherwise why it failed.
    std::optional<std::string> end() const;
    static constexpr const char* noAnswer = "the server did not answer in time";
    bool hasEnded() const { return end().has_value(); }
    void forgetEnd();

  private:
    void hear(const std::string& line);

    const std::function<void()> selecting_;
    mutable Mutex mutex_;
    std::optional<std::string> end_ GUARDED_BY(mutex_);
    const NSLogObservation observation_;
};

}  // namespace velmora
