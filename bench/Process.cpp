#include "bench/Process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QStandardPaths>

#include "bench/Wrong.h"

namespace velmora::bench {

namespace {

constexpr std::chrono::seconds kTimeToEnd{10};

bool becomesReadable(int descriptor, std::chrono::seconds limit) {
    pollfd polled{descriptor, POLLIN, 0};
    return poll(&polled, 1, static_cast<int>(std::chrono::milliseconds(limit).count())) == 1;
}

}  // namespace

bool programExists(const std::string& name) {
    return !QStandardPaths::findExecutable(QString::fromStdString(name)).isEmpty();
}

Process::Process(std::vector<std::string> command) : program_(command.front()) {
    int toProgram[2];
    int fromProgram[2];
    if (pipe2(toProgram, O_CLOEXEC) != 0 || pipe2(fromProgram, O_CLOEXEC) != 0) throw Wrong("no pipe to be had");
    input_ = toProgram[1];
    output_ = fromProgram[0];
    std::vector<char*> arguments;
    for (std::string& argument : command) {
        arguments.push_back(argument.data());
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, toProgram[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, fromProgram[1], STDOUT_FILENO);
    const int failure = posix_spawnp(&process_, program_.c_str(), &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(toProgram[0]);
    close(fromProgram[1]);
    if (failure != 0) {
        close(input_);
        close(output_);
        throw Wrong("cannot run " + program_);
    }
}

Process::~Process() {
    close(input_);
    if (process_ > 0) {
        kill(process_, SIGTERM);
        if (!waitForEnd(kTimeToEnd)) {
            kill(process_, SIGKILL);
            waitpid(process_, nullptr, 0);
        }
    }
    close(output_);
}

std::string Process::readLine(std::chrono::seconds limit) {
    for (std::size_t end; (end = read_.find('\n')) == std::string::npos;) {
        char buffer[4096];
        if (!becomesReadable(output_, limit)) throw Wrong(program_ + " says nothing");
        const ssize_t count = read(output_, buffer, sizeof buffer);
        if (count <= 0) throw Wrong(program_ + " has ended");
        read_.append(buffer, static_cast<std::size_t>(count));
    }
    const std::string line = read_.substr(0, read_.find('\n'));
    read_.erase(0, line.size() + 1);
    return line;
}

void Process::writeLine(const std::string& line) {
    const std::string bytes = line + "\n";
    if (write(input_, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()))
        throw Wrong(program_ + " does not listen");
}

void Process::waitForSuccess(std::chrono::seconds limit) {
    if (!waitForEnd(limit)) throw Wrong(program_ + " does not end");
    if (!WIFEXITED(status_) || WEXITSTATUS(status_) != 0) throw Wrong(program_ + " has failed");
}

bool Process::waitForEnd(std::chrono::seconds limit) {
    const int descriptor = static_cast<int>(syscall(SYS_pidfd_open, process_, 0));
    const bool ended = descriptor >= 0 && becomesReadable(descriptor, limit);
    close(descriptor);
    if (!ended || waitpid(process_, &status_, 0) != process_) return false;
    process_ = -1;
    return true;
}

}  // namespace velmora::bench
