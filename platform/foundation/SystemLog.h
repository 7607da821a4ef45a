// The system log, line by line.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace velmora {

// Writes one line to the system log (syslog), and to standard error when that is a terminal or mirroring is on. There,
// a line is lost that is not taken at once, or that would go to another user's terminal. Control characters, which can
// only have come from outside, are escaped. Any thread.
void NSLogLine(std::string_view line);

// Turns the copy on standard error on or off, whatever standard error is. Any thread.
void NSLogMirrorToStandardError(bool mirror);

// Observes every line from its making to its destruction. The observer runs on the logging thread, one line at a time,
// in the order of the lines; it must not log and must not make or destroy an observation. Once the destructor has
// returned the observer is not called again.
class NSLogObservation {
  public:
    using Observer = std::function<void(const std::string& line)>;

    explicit NSLogObservation(Observer observer);
    NSLogObservation(const NSLogObservation&) = delete;
    NSLogObservation& operator=(const NSLogObservation&) = delete;
    ~NSLogObservation();

  private:
    std::shared_ptr<Observer> observer_;
};

}  // namespace velmora
