// The commands that look at attributes and their values: "attributes", "possible", "get" and "dump".
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/terminal/Context.h"
#include "host/terminal/Preparation.h"
#include "host/terminal/Reading.h"

namespace velmora {

// Main thread. One command each; as JSON, each prints one document, whatever came of it.
class ReadCommands {
  public:
    explicit ReadCommands(const Context& context) : context_(context), preparation_(context) {}

    ExitCode attributes();
    ExitCode possible(const std::string& written);
    // One by its name, or several, or all.
    ExitCode get();
    // The current values as a salvo.
    ExitCode dump();

  private:
    ExitCode getOne(const std::string& written);
    ExitCode getSeveral();
    ExitCode printPossible(const std::string& name, const StringList& values, ExitCode code) const;
    // Those that the command names, or all. Says which there are not.
    std::optional<std::vector<std::string>> attributesAskedFor() const;
    // Says why there is no value.
    Reading read(const std::string& name);
    // The exit code when the device did not answer.
    ExitCode withoutAnswer() const;

    const Context context_;
    Preparation preparation_;
    bool isWhole_ = true;
    bool ranOutOfTime_ = false;
};

}  // namespace velmora
