#include "host/ConnectionWatch.h"

#include <string_view>
#include <utility>

#include "platform/threads/MainThread.h"

namespace velmora {

namespace {

// How the lines begin that tell of it: that the server has ended the connection; that it did not answer in time; that
// it failed, and why; and that a new one begins.
constexpr std::string_view kEnded = "NSStreamEventEndEncountered";
constexpr std::string_view kTimedOut = "NSStreamEventEndEncountered because of a timeout";
constexpr std::string_view kFailed = "Connection failed: ";
constexpr std::string_view kBegins = "Selecting matrix switcher";

}  // namespace

ConnectionWatch::ConnectionWatch(std::function<void()> selecting)
    : selecting_(std::move(selecting)), observation_([this](const std::string& line) { hear(line); }) {}

void ConnectionWatch::hear(const std::string& line) {
    const bool begins = line.starts_with(kBegins);
    std::optional<std::string> end;
    if (line.starts_with(kFailed)) {
        end = line.substr(kFailed.size());
    } else if (line.starts_with(kEnded)) {
        end = line.starts_with(kTimedOut) ? noAnswer : "";
    } else if (!begins) {
        return;
    }
    {
        MutexLock lock(mutex_);
        end_ = end;
    }
    if (begins && selecting_ && MainThread::isCurrent()) selecting_();
}

std::optional<std::string> ConnectionWatch::end() const {
    MutexLock lock(mutex_);
    return end_;
}

void ConnectionWatch::forgetEnd() {
    MutexLock lock(mutex_);
    end_ = std::nullopt;
}

}  // namespace velmora
