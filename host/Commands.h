// The commands of the terminal: each asks the plugin through the host protocol and prints the answer.
#pragma once

#include <string>
#include <vector>

#include "host/ConnectionWatch.h"
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
    // Whether there is nothing more to wait for: the attributes are complete, or the settings name none. Says what was
    // missing when not.
    bool waitForAttributes();
    void complainOfMissingAttributes(const std::string& server) const;
    // The same, and whether the plugin has an attribute of that name.
    ExitCode waitForAttribute(const std::string& name);
    // Of an attribute; none, said why, when the plugin refuses to read it or nobody answered.
    std::optional<std::string> currentValue(const std::string& name) const;
    // What it means that the switcher did not say or do what it was asked.
    ExitCode withoutAnswer() const;
    void printChangeNotice() const;

    PluginHost& host_;
    const Options& options_;
    ConnectionWatch connection_;
};

}  // namespace velmora
