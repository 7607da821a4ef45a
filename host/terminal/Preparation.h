// What comes before a command that asks the plugin for something: the start, and the wait for its attributes. Says on
// standard error what is missing, and what to do about it.
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "host/ExitCode.h"
#include "host/terminal/Context.h"

namespace velmora {

// "2.5 s"
std::string secondsText(std::chrono::milliseconds time);

// Main thread. Waits in the event loop.
class Preparation {
  public:
    explicit Preparation(const Context& context) : host_(context.host), options_(context.options), context_(context) {}

    // False when the plugin does not want to start.
    bool start();
    // Starts the plugin and waits until its attributes are there or none will come.
    ExitCode waitForAttributes();
    // Whether the wait ended with the time and not with the attributes, though it was called done.
    bool ranOutOfTime() const { return ranOutOfTime_; }
    // Once for each size of the matrix.
    void warnOfDefaultsBeyondMatrix();

  private:
    // For a person who waits for a blocked plugin.
    std::string delayText() const;
    void complainOfMissingAttributes() const;

    PluginHost& host_;
    const Options& options_;
    const Context context_;
    bool ranOutOfTime_ = false;
    std::optional<std::size_t> inputs_;  // of the matrix that was looked at last
};

}  // namespace velmora
