// Setting a value and reading it back.
#pragma once

#include <string>

#include "host/PluginHost.h"
#include "host/Salvo.h"
#include "host/terminal/Reading.h"
#include "host/terminal/Report.h"

namespace velmora {

// For a sentence: "Velmora Switch Output 2" to "5".
std::string stepText(const SalvoStep& step);
// Whether the plugin would understand the value as it is meant. Asks no device.
Result<void> checkStep(const VelmoraNodePluginProtocol& plugin, const SalvoStep& step);
// The same for one of several, of which none is sent when one is in doubt: whether the value is offered, and agrees
// with the values of those before.
Result<void> checkStepOfSalvo(const VelmoraNodePluginProtocol& plugin, const Salvo& before, const SalvoStep& step);
// In words, when the value goes by its number and has another label here than the step gives it; "" otherwise.
std::string doubtAboutLabel(const VelmoraNodePluginProtocol& plugin, const SalvoStep& step);

struct StepOutcome {
    Reading reading;  // afterwards
    bool holds = false;
    bool ranOutOfTime = false;
};

// Sets the value, which was checked, and reads it back, because the plugin only hands it on: whether the device carried
// it out, only its answer tells. Says what went wrong.
StepOutcome performStep(PluginHost& host, const SalvoStep& step, Report& report);

}  // namespace velmora
