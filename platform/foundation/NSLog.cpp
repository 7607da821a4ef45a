#include "platform/foundation/NSLog.h"

#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <vector>

#include "platform/threads/ThreadAnnotations.h"

namespace velmora {

namespace {

// The system log drops messages that do not fit into one datagram; a longer line is cut there, and there only.
constexpr std::size_t kSystemLogByteLimit = 8 * 1024;

struct Log {
    Mutex mutex;
    bool mirrored GUARDED_BY(mutex) = false;
    std::vector<std::shared_ptr<NSLogObservation::Observer>> observers GUARDED_BY(mutex);
};

// Never destroyed: threads and static objects may log while the process ends.
Log& theLog() {
    static auto* instance = new Log;
    return *instance;
}

// In one piece where the system lets us, so that lines of several processes do not mix. A log that cannot be written is
// no reason to fail.
void writeToStandardError(std::string line) {
    line += '\n';
    std::string_view rest = line;
    while (!rest.empty()) {
        const ssize_t written = write(STDERR_FILENO, rest.data(), rest.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return;
        rest.remove_prefix(static_cast<std::size_t>(written));
    }
}

}  // namespace

void NSLogLine(std::string_view line) {
    const std::string shown = stringByEscapingControlCharacters(line);
    syslog(LOG_USER | LOG_NOTICE, "%.*s", static_cast<int>(std::min(shown.size(), kSystemLogByteLimit)), shown.c_str());

    Log& log = theLog();
    MutexLock lock(log.mutex);
    if (log.mirrored || isatty(STDERR_FILENO) != 0) writeToStandardError(shown);
    for (const auto& observer : log.observers) {
        (*observer)(shown);
    }
}

void NSLogMirrorToStandardError(bool mirror) {
    Log& log = theLog();
    MutexLock lock(log.mutex);
    log.mirrored = mirror;
}

NSLogObservation::NSLogObservation(Observer observer) : observer_(std::make_shared<Observer>(std::move(observer))) {
    Log& log = theLog();
    MutexLock lock(log.mutex);
    log.observers.push_back(observer_);
}

NSLogObservation::~NSLogObservation() {
    Log& log = theLog();
    MutexLock lock(log.mutex);
    std::erase(log.observers, observer_);
}

}  // namespace velmora
