#include "tests/support/ChildProcess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include "tests/support/Sockets.h"

namespace velmora::test {

constexpr int kLimit = 30'000;  // milliseconds

ChildProcess::Stream::Stream() {
    EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
}

ChildProcess::Stream::~Stream() {
    ::close(ends[0]);
}

bool ChildProcess::Stream::readMore() {
    char buffer[4096];
    const ssize_t count = isReadable(ends[0], kLimit) ? ::read(ends[0], buffer, sizeof buffer) : 0;
    if (count > 0) read.append(buffer, static_cast<std::size_t>(count));
    return count > 0;
}

std::string ChildProcess::Stream::line() {
    while (read.find('\n') == std::string::npos && readMore()) {
    }
    const std::string line = read.substr(0, read.find('\n'));
    read.erase(0, line.size() + 1);
    return line;
}

std::string ChildProcess::Stream::all() {
    while (readMore()) {
    }
    return std::exchange(read, {});
}

ChildProcess::ChildProcess(const std::vector<std::string>& command) {
    std::vector<char*> arguments;
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, output_.ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errors_.ends[1], STDERR_FILENO);
    EXPECT_EQ(posix_spawn(&process_, arguments[0], &actions, nullptr, arguments.data(), environ), 0) << command[0];
    posix_spawn_file_actions_destroy(&actions);
    ::close(output_.ends[1]);
    ::close(errors_.ends[1]);
}

ChildProcess::~ChildProcess() {
    if (process_ <= 0) return;
    sendSignal(SIGKILL);
    ::waitpid(process_, nullptr, 0);
}

std::string ChildProcess::outputLineWith(std::string_view text) {
    std::string line;
    do {
        line = outputLine();
    } while (!line.empty() && line.find(text) == std::string::npos);
    return line;
}

void ChildProcess::sendSignal(int number) {
    if (process_ > 0) ::kill(process_, number);
}

int ChildProcess::exitCode() {
    const int descriptor = static_cast<int>(::syscall(SYS_pidfd_open, process_, 0));
    const bool ended = descriptor >= 0 && isReadable(descriptor, kLimit);
    ::close(descriptor);
    int status = 0;
    if (!ended || ::waitpid(process_, &status, 0) != process_) return -1;
    process_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace velmora::test
