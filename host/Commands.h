// The commands of the terminal: each asks the plugin through the host protocol and prints the answer.
#pragma once

#include <QJsonObject>
#include <optional>
#include <string>

#include "host/ExitCode.h"
#include "host/Options.h"
#include "host/PluginHost.h"

namespace velmora {

// Main thread only. What a command waits for, it waits for in the event loop.
class Commands {
  public:
    // Neither is owned; both outlive it. The host has loaded the plugin.
    Commands(PluginHost& host, const Options& options);

    // Runs the command that the options name. The plugin may be left started.
    ExitCode run();

  private:
    ExitCode servers();
    ExitCode attributes();
    ExitCode possible(const std::string& name);
    ExitCode get(const std::string& name);
    ExitCode set(const std::string& name, const std::string& value);
    ExitCode settings();
    ExitCode watch();

    bool start();
    // Whether there is nothing more to wait for: the attributes are there, or none will come. Says what was missing
    // when not.
    bool waitForAttributes();
    void complainOfMissingAttributes() const;
    // The same, and whether the plugin has an attribute of that name.
    ExitCode waitForAttribute(const std::string& name);
    void warnOfDefaultsBeyondMatrix();

    struct Current {
        std::optional<std::string> value;  // none when nobody gave it
        std::optional<bool> isAnswered;    // none where the plugin does not tell
    };
    // Asks the device; says why when there is no value.
    Current currentValue(const std::string& name);
    void printCurrent(QJsonObject document, const Current& current) const;
    // What it means that the device did not say or do what it was asked.
    ExitCode withoutAnswer() const;
    void printChangeNotice() const;

    PluginHost& host_;
    const Options& options_;
    bool ranOutOfTime_ = false;
    std::optional<std::size_t> inputs_;  // of the matrix that was looked at last
};

}  // namespace velmora
