// A program that the benchmark runs and talks to; it ends with this object.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

namespace velmora::bench {

// One thread.
class Process {
  public:
    // The program (looked up in PATH when it is a plain name), then its arguments. Throws Wrong when it cannot be run.
    explicit Process(std::vector<std::string> command);
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    // Asks the program to end, and kills it when it does not.
    ~Process();

    pid_t id() const { return process_; }
    // The next line of its output without the end. Throws Wrong when the program has ended or the time passes.
    std::string readLine(std::chrono::seconds limit = std::chrono::seconds(60));
    void writeLine(const std::string& line);
    // Throws Wrong unless it ends in time, with exit code 0.
    void waitForSuccess(std::chrono::seconds limit = std::chrono::seconds(120));

  private:
    // Whether it has ended; if so, its exit code has been collected.
    bool waitForEnd(std::chrono::seconds limit);

    const std::string program_;
    pid_t process_ = -1;
    int input_ = -1;
    int output_ = -1;
    int status_ = 0;
    std::string read_;
};

// Whether PATH has a program of this plain name.
bool programExists(const std::string& name);

}  // namespace velmora::bench
