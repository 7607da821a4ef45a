// The commands that set attributes: "set" and "apply".
#pragma once

#include <QJsonObject>
#include <optional>
#include <string>
#include <vector>

#include "host/Salvo.h"
#include "host/terminal/Context.h"
#include "host/terminal/Preparation.h"
#include "host/terminal/Setting.h"

namespace velmora {

// Main thread. One command each. Nothing is sent before each step is known to name an attribute, and a value that
// cannot be misread.
class SetCommands {
  public:
    explicit SetCommands(const Context& context) : context_(context), preparation_(context) {}

    // One attribute, by its name and value, or several.
    ExitCode set();
    // The steps of a salvo, or what they would change.
    ExitCode apply();

  private:
    struct Row {
        SalvoStep step;
        Reading reading;
        std::string result;  // for a person
        bool isGood = false;
    };

    // The steps with the names of attributes. Says what is wrong with them; none when anything is.
    std::optional<Salvo> usableSteps(bool areNameAndValue) const;
    ExitCode printOne(const Row& row, ExitCode code) const;
    ExitCode run(const Salvo& salvo);
    Row perform(const SalvoStep& step);
    Row foresee(const SalvoStep& step);
    QJsonObject document(const Row& row) const;
    ExitCode failure() const;

    const Context context_;
    Preparation preparation_;
    bool ranOutOfTime_ = false;
};

}  // namespace velmora
