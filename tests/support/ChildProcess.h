// A program that a test runs and reads from. (Not QProcess: its fork blinds the thread sanitizer on that thread.)
#pragma once

#include <sys/types.h>

#include <csignal>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::test {

// One thread. No wait is longer than 30 seconds.
class ChildProcess {
  public:
    // The path of the program, then its arguments.
    explicit ChildProcess(const std::vector<std::string>& command);
    ChildProcess(const ChildProcess&) = delete;
    // Kills the program if it still runs.
    ~ChildProcess();

    pid_t id() const { return process_; }
    // The next line, without its end; empty when the program has ended or prints nothing.
    std::string outputLine() { return output_.line(); }
    // The next line that contains the text; empty when no such line comes.
    std::string outputLineWith(std::string_view text);
    std::string errorLine() { return errors_.line(); }
    // The rest of the output, until the program ends.
    std::string output() { return output_.all(); }
    std::string errors() { return errors_.all(); }

    void sendSignal(int number = SIGTERM);
    // Waits for the end and returns the exit code; -1 when a signal ended the program or it does not end.
    int exitCode();
    int exitCodeAfterSignal(int number = SIGTERM) { return sendSignal(number), exitCode(); }

  private:
    struct Stream {
        Stream();
        ~Stream();
        bool readMore();
        std::string line();
        std::string all();

        int ends[2] = {-1, -1};
        std::string read;
    };

    Stream output_;
    Stream errors_;
    pid_t process_ = -1;
};

}  // namespace velmora::test
