#include "plugincheck/CheckProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QApplication>
#include <algorithm>
#include <charconv>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>

#include "platform/foundation/Descriptor.h"
#include "platform/foundation/NSLog.h"
#include "platform/foundation/Text.h"
#include "platform/network/NSNetServiceBrowser.h"
#include "platform/threads/Moment.h"

namespace velmora {

namespace {

// Of one check, whatever its steps are.
constexpr std::chrono::minutes kCheckTime{10};
// From the beginning of the process, and from the verdict, to the next step.
constexpr std::chrono::seconds kBeginningTime{30};
constexpr std::chrono::seconds kEndingTime{20};
#ifndef VELMORA_SANITIZED  // the sanitizers reserve more than any plugin needs
constexpr rlim_t kMaximumMemory = 4UL * 1024 * 1024 * 1024;
#endif

class CheckProcess {
  public:
    // A failure when there is none.
    Result<void> start(const Check& check, const std::vector<std::string>& words, bool verbose);
    Verdict verdict();

  private:
    void readReports();
    void take(std::string_view line);
    // False when its time has run out.
    bool waitForNews();
    // Waits for the end, which has been seen or brought about.
    int statusAtEnd();
    std::string reasonOfEnd(int status, bool isLate) const;

    pid_t process_ = -1;
    Descriptor end_;  // readable once the process has ended
    Descriptor reports_;
    std::string unread_;
    std::string step_ = "the beginning of its process";
    std::chrono::milliseconds stepLimit_ = kBeginningTime;
    Date stepEnd_ = fromNow(kBeginningTime);
    const Date checkEnd_ = fromNow(kCheckTime);
    std::optional<Verdict> told_;
};

Result<void> CheckProcess::start(const Check& check, const std::vector<std::string>& words, bool verbose) {
    int pipe[2];
    if (::pipe2(pipe, O_CLOEXEC | O_NONBLOCK) != 0) return failureOfSystem(errno);
    reports_ = Descriptor(pipe[0]);
    const Descriptor writing(pipe[1]);
    // A full pipe makes the process wait.
    ::fcntl(writing.number(), F_SETFL, 0);

    std::vector<std::string> command = words;
    command.insert(command.begin() + 1, stringWithFormat("--%@=%@", kInsideOption, check.name));
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (std::string& word : command) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    if (verbose) {
        posix_spawn_file_actions_adddup2(&actions, STDERR_FILENO, STDOUT_FILENO);
    } else {
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    }
    posix_spawn_file_actions_adddup2(&actions, writing.number(), kReportDescriptor);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    const int error = ::posix_spawn(&process_, "/proc/self/exe", &actions, &attributes, arguments.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) return failureOfSystem(error);
    end_ = Descriptor(static_cast<int>(::syscall(SYS_pidfd_open, process_, 0)));
    return {};
}

bool CheckProcess::waitForNews() {
    const auto left = std::min(stepEnd_, checkEnd_) - std::chrono::steady_clock::now();
    if (left <= Date::duration::zero()) return false;
    pollfd polled[] = {{end_.number(), POLLIN, 0}, {reports_.number(), POLLIN, 0}};
    ::poll(polled, 2, static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(left).count()));
    // The end that others hold of the pipe may stay open; and one that nobody holds any more is no news twice.
    if ((polled[1].revents & POLLHUP) != 0 && (polled[1].revents & POLLIN) == 0) reports_ = Descriptor();
    return true;
}

void CheckProcess::readReports() {
    char buffer[4096];
    ssize_t count = 0;
    while (reports_ && (count = ::read(reports_.number(), buffer, sizeof buffer)) > 0) {
        unread_.append(buffer, static_cast<std::size_t>(count));
    }
    for (std::size_t end; (end = unread_.find('\n')) != std::string::npos; unread_.erase(0, end + 1)) {
        take(std::string_view(unread_).substr(0, end));
    }
}

void CheckProcess::take(std::string_view line) {
    const auto rest = [line](std::string_view word) { return std::string(line.substr(word.size())); };
    if (line.starts_with(kStepWord)) {
        line.remove_prefix(kStepWord.size());
        std::int64_t limit = 0;
        const auto number = std::from_chars(line.data(), line.data() + line.size(), limit);
        stepLimit_ = std::chrono::milliseconds(limit);
        step_ = std::string_view(number.ptr, line.data() + line.size());
        step_.erase(0, 1);
        stepEnd_ = fromNow(stepLimit_);
        return;
    }
    if (line == kOkWord) told_ = Verdict{Outcome::ok, ""};
    if (line.starts_with(kFailedWord)) told_ = Verdict{Outcome::failed, rest(kFailedWord)};
    if (line.starts_with(kNotApplicableWord)) told_ = Verdict{Outcome::notApplicable, rest(kNotApplicableWord)};
    step_ = "the end of its process";
    stepLimit_ = kEndingTime;
    stepEnd_ = fromNow(kEndingTime);
}

int CheckProcess::statusAtEnd() {
    int status = 0;
    while (::waitpid(process_, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

std::string CheckProcess::reasonOfEnd(int status, bool isLate) const {
    if (isLate && std::chrono::steady_clock::now() >= checkEnd_) {
        return stringWithFormat("the check had not ended within %li s, in %@", std::chrono::seconds(kCheckTime).count(),
                                step_);
    }
    if (isLate) {
        return stringWithFormat("%@ had not returned within %@ s", step_,
                                QString::number(stepLimit_ / Seconds(1)).toStdString());
    }
    if (WIFSIGNALED(status)) {
        const char* const name = ::sigabbrev_np(WTERMSIG(status));
        return stringWithFormat("ended by SIG%@ (%@) in %@", name != nullptr ? name : "RT",
                                ::sigdescr_np(WTERMSIG(status)), step_);
    }
    return stringWithFormat("ended the process with exit code %i in %@", WEXITSTATUS(status), step_);
}

Verdict CheckProcess::verdict() {
    const auto isOver = [this] {
        pollfd polled{end_.number(), POLLIN, 0};
        return ::poll(&polled, 1, 0) == 1;
    };
    bool isLate = false;
    while (!isOver() && !isLate) {
        isLate = !waitForNews();
        readReports();
    }
    // With what it may have left behind. Until it has been waited for, the group is its own.
    ::kill(-process_, SIGKILL);
    const int status = statusAtEnd();
    readReports();
    if (told_ && told_->outcome != Outcome::ok) return *told_;
    if (told_ && !isLate && WIFEXITED(status) && WEXITSTATUS(status) == 0) return *told_;
    return {Outcome::failed, reasonOfEnd(status, isLate)};
}

void setBounds() {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    const rlimit noCore{0, 0};
    ::setrlimit(RLIMIT_CORE, &noCore);
#ifndef VELMORA_SANITIZED
    const rlimit memory{kMaximumMemory, kMaximumMemory};
    ::setrlimit(RLIMIT_AS, &memory);
#endif
}

}  // namespace

Verdict makeCheck(const Check& check, const std::vector<std::string>& words, bool verbose) {
    const Date beginning = std::chrono::steady_clock::now();
    CheckProcess process;
    const auto started = process.start(check, words, verbose);
    Verdict verdict = started ? process.verdict()
                              : Verdict{Outcome::failed, "its process was not started: " + started.failure().reason};
    verdict.duration =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - beginning);
    return verdict;
}

int runInside(int& argc, char** argv, const CheckOptions& options) {
    const Check* const check = findCheck(options.inside);
    if (check == nullptr || !takeReportDescriptor()) return 2;
    setBounds();
    ::setenv("QT_QPA_PLATFORM", "offscreen", 0);  // NOLINT(concurrency-mt-unsafe): there is no other thread yet
    NSLogMirrorToStandardError(options.verbose);
    limitNetServicesToInterfaces(options.interfaces);
    const std::unique_ptr<QCoreApplication> application(check->hasWindows ? new QApplication(argc, argv)
                                                                          : new QCoreApplication(argc, argv));
    check->run(options);
    succeed();
    return EXIT_SUCCESS;
}

}  // namespace velmora
