// The commands that look at attributes and their values: "attributes", "possible", "get" and "set".
#pragma once

#include <QJsonObject>
#include <optional>
#include <string>

#include "host/terminal/Preparation.h"

namespace velmora {

// Main thread. One command each; as JSON, each prints one document, whatever came of it.
class AttributeCommands {
  public:
    // Neither is owned; both outlive it. The host has loaded the plugin.
    AttributeCommands(PluginHost& host, const Options& options)
        : host_(host), options_(options), preparation_(host, options) {}

    ExitCode attributes();
    ExitCode possible(const std::string& name);
    ExitCode get(const std::string& name);
    ExitCode set(const std::string& name, const std::string& value);

  private:
    struct Current {
        std::optional<std::string> value;  // none when nobody gave it
        std::optional<bool> isAnswered;    // none where the plugin does not tell
    };
    // Asks the device; says why when there is no value.
    Current currentValue(const std::string& name);
    // Of a device that was not asked.
    Current unasked() const;
    QJsonObject record(const std::string& name, const Current& current) const;
    void printCurrent(QJsonObject document, const Current& current) const;
    void printPossible(const std::string& name, const StringList& values) const;
    // The exit code when the device did not say or do what it was asked.
    ExitCode withoutAnswer() const;

    PluginHost& host_;
    const Options& options_;
    Preparation preparation_;
    bool ranOutOfTime_ = false;
};

}  // namespace velmora
