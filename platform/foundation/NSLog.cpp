#include "platform/foundation/NSLog.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <vector>

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

// Bytes that standard error takes at once, -1 for none: a terminal that was stopped, or a reader that sleeps, holds
// nobody up who logs.
ssize_t writeAtOnce(std::string_view bytes) {
    const ssize_t sent = send(STDERR_FILENO, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    if (sent >= 0 || errno != ENOTSOCK) return sent;
    struct stat status {};
    if (fstat(STDERR_FILENO, &status) != 0) return -1;
    if (S_ISREG(status.st_mode)) return write(STDERR_FILENO, bytes.data(), bytes.size());
    // Opened anew, because whether a write may wait would otherwise be changed for everybody who has the descriptor.
    const int descriptor = open("/proc/self/fd/2", O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (descriptor >= 0) {
        const ssize_t written = write(descriptor, bytes.data(), bytes.size());
        close(descriptor);
        return written;
    }
    // Another user's. Of a pipe it is known what it takes at once, of a terminal it is not.
    pollfd space{STDERR_FILENO, POLLOUT, 0};
    const bool hasSpace = S_ISFIFO(status.st_mode) && bytes.size() <= PIPE_BUF && poll(&space, 1, 0) == 1 &&
                          (space.revents & POLLOUT) != 0;
    return hasSpace ? write(STDERR_FILENO, bytes.data(), bytes.size()) : -1;
}

// In one piece where the system lets us, so that lines of several processes do not mix. What cannot be written is no
// reason to fail; the line that was cut short is ended before the next one.
void writeToStandardError(const std::string& line, bool& isCutShort) {
    const WithoutSIGPIPE withoutSIGPIPE;
    const std::string text = (isCutShort ? "\n" : "") + line + '\n';
    ssize_t written = -1;
    do {
        written = writeAtOnce(text);
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
