// A program that a test runs and reads from. (Not QProcess: its fork blinds the thread sanitizer on that thread.)
#pragma once

#include <fcntl.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <csignal>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/Sockets.h"

namespace velmora::test {

// One thread. No wait is longer than 30 seconds.
class ChildProcess {
  public:
    // The path of the program, then its arguments.
    explicit ChildProcess(const std::vector<std::string>& command) {
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
    ChildProcess(const ChildProcess&) = delete;
    // Kills the program if it still runs.
    ~ChildProcess() {
        if (process_ <= 0) return;
        sendSignal(SIGKILL);
        ::waitpid(process_, nullptr, 0);
    }

    pid_t id() const { return process_; }
    // The next line, without its end; empty when the program has ended or prints nothing.
    std::string outputLine() { return output_.line(); }
    // The next line that contains the text; empty when no such line comes.
    std::string outputLineWith(std::string_view text) {
        std::string line;
        do {
            line = outputLine();
        } while (!line.empty() && line.find(text) == std::string::npos);
        return line;
    }
    std::string errorLine() { return errors_.line(); }
    // The rest of the output, until the program ends.
    std::string output() { return output_.all(); }
    std::string errors() { return errors_.all(); }

    void sendSignal(int number = SIGTERM) {
        if (process_ > 0) ::kill(process_, number);
    }
    // Waits for the end and returns the exit code; -1 when a signal ended the program or it does not end.
    int exitCode() {
        const int descriptor = static_cast<int>(::syscall(SYS_pidfd_open, process_, 0));
        const bool ended = descriptor >= 0 && isReadable(descriptor, kLimit);
        ::close(descriptor);
        int status = 0;
        if (!ended || ::waitpid(process_, &status, 0) != process_) return -1;
        process_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    int exitCodeAfterSignal(int number = SIGTERM) { return sendSignal(number), exitCode(); }

  private:
    static constexpr int kLimit = 30'000;  // milliseconds

    struct Stream {
        Stream() { EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0); }
        ~Stream() { ::close(ends[0]); }
        bool readMore() {
            char buffer[4096];
            const ssize_t count = isReadable(ends[0], kLimit) ? ::read(ends[0], buffer, sizeof buffer) : 0;
            if (count > 0) read.append(buffer, static_cast<std::size_t>(count));
            return count > 0;
        }
        std::string line() {
            while (read.find('\n') == std::string::npos && readMore()) {
            }
            const std::string line = read.substr(0, read.find('\n'));
            read.erase(0, line.size() + 1);
            return line;
        }
        std::string all() {
            while (readMore()) {
            }
            return std::exchange(read, {});
        }

        int ends[2] = {-1, -1};
        std::string read;
    };

    Stream output_;
    Stream errors_;
    pid_t process_ = -1;
};

}  // namespace velmora::test
