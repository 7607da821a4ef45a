#include "platform/foundation/NSLog.h"

#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <vector>

#include "platform/foundation/ImmediateOutput.h"
#include "platform/threads/ThreadAnnotations.h"

namespace velmora {

namespace {

// The system log drops messages that do not fit into one datagram; a longer line is cut there, and there only.
constexpr std::size_t kSystemLogByteLimit = 8 * 1024;

struct Log {
    Mutex mutex;
    bool mirrored GUARDED_BY(mutex) = false;
    bool isCutShort GUARDED_BY(mutex) = false;  // the last line on standard error
    std::vector<std::shared_ptr<NSLogObservation::Observer>> observers GUARDED_BY(mutex);
};

// Never destroyed: threads and static objects may log while the process ends.
Log& theLog() {
    static auto* instance = new Log;
    return *instance;
}

// A reader that has gone ends nobody who logs.
class WithoutSIGPIPE {
  public:
    WithoutSIGPIPE() {
        sigemptyset(&signal_);
        sigaddset(&signal_, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &signal_, &before_);
    }
    WithoutSIGPIPE(const WithoutSIGPIPE&) = delete;
    WithoutSIGPIPE& operator=(const WithoutSIGPIPE&) = delete;
    ~WithoutSIGPIPE() {
        if (sigismember(&before_, SIGPIPE) == 1) return;
        const timespec atOnce{};
        while (sigtimedwait(&signal_, nullptr, &atOnce) < 0 && errno == EINTR) {
        }
        pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }

  private:
    sigset_t signal_;
    sigset_t before_;
};

// In one piece where the system allows it, so that the lines of several processes do not mix. A line that cannot be
// written is lost; one that was cut short is ended before the next.
void writeToStandardError(const std::string& line, bool& isCutShort) {
    const WithoutSIGPIPE withoutSIGPIPE;
    const std::string text = (isCutShort ? "\n" : "") + line + '\n';
    ssize_t written = -1;
    do {
        written = writeAtOnce(STDERR_FILENO, text);
    } while (written < 0 && errno == EINTR);
    if (written > 0) isCutShort = static_cast<std::size_t>(written) < text.size();
}

}  // namespace

void NSLogLine(std::string_view line) {
    const int callersError = errno;
    const std::string shown = stringByEscapingControlCharacters(line);
    syslog(LOG_USER | LOG_NOTICE, "%.*s", static_cast<int>(std::min(shown.size(), kSystemLogByteLimit)), shown.c_str());

    Log& log = theLog();
    MutexLock lock(log.mutex);
    if (log.mirrored || isatty(STDERR_FILENO) != 0) writeToStandardError(shown, log.isCutShort);
    for (const auto& observer : log.observers) {
        (*observer)(shown);
    }
    errno = callersError;
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
