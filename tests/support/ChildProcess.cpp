#include "tests/support/ChildProcess.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <utility>

namespace velmora::test {

namespace {

constexpr int longestWait = 30'000;  // milliseconds

bool waitUntilReadable(int descriptor) {
    pollfd polled{descriptor, POLLIN, 0};
    return ::poll(&polled, 1, longestWait) == 1;
}

}  // namespace

ChildProcess::Stream::Stream() {
    int ends[2] = {-1, -1};
    EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    readEnd_ = ends[0];
    writeEnd_ = ends[1];
}

ChildProcess::Stream::~Stream() {
    ::close(readEnd_);
}

void ChildProcess::Stream::closeWriteEnd() {
    ::close(std::exchange(writeEnd_, -1));
}

bool ChildProcess::Stream::readMore() {
    char buffer[4096];
    if (!waitUntilReadable(readEnd_)) return false;
    const ssize_t count = ::read(readEnd_, buffer, sizeof buffer);
    if (count > 0) read_.append(buffer, static_cast<std::size_t>(count));
    return count > 0;
}

std::string ChildProcess::Stream::line() {
    while (read_.find('\n') == std::string::npos && readMore()) {
    }
    const std::string line = read_.substr(0, read_.find('\n'));
    read_.erase(0, line.size() + 1);
    return line;
}

std::string ChildProcess::Stream::all() {
    while (readMore()) {
    }
    return std::exchange(read_, {});
}

ChildProcess::ChildProcess(const std::vector<std::string>& command) {
    std::vector<char*> arguments;
    for (const std::string& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output_.writeEnd(), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errors_.writeEnd(), STDERR_FILENO);
    EXPECT_EQ(posix_spawn(&process_, arguments[0], &actions, nullptr, arguments.data(), environ), 0) << command[0];
    posix_spawn_file_actions_destroy(&actions);
    output_.closeWriteEnd();
    errors_.closeWriteEnd();
}

ChildProcess::~ChildProcess() {
    if (process_ <= 0) return;
    ::kill(process_, SIGKILL);
    ::waitpid(process_, nullptr, 0);
}

void ChildProcess::sendSignal(int number) {
    if (process_ > 0) ::kill(process_, number);
}

int ChildProcess::exitCode() {
    if (process_ <= 0) return exitCode_;
    const int descriptor = static_cast<int>(::syscall(SYS_pidfd_open, process_, 0));
    const bool ended = descriptor >= 0 && waitUntilReadable(descriptor);
    ::close(descriptor);
    int status = 0;
    if (!ended || ::waitpid(process_, &status, 0) != process_) return -1;
    process_ = -1;
    exitCode_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return exitCode_;
}

}  // namespace velmora::test
