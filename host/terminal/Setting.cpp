#include "host/terminal/Setting.h"

#include "host/Attempt.h"
#include "host/Blanks.h"
#include "host/Console.h"
#include "host/PluginState.h"
#include "host/Quotes.h"

namespace velmora {

namespace {

constexpr const char* kPossibleHint = "; \"velmora-host possible\" lists the values that it takes";

}  // namespace

std::string stepText(const SalvoStep& step) {
    return inQuotes(step.name) + " to " + inQuotes(step.value);
}

Result<void> checkStep(const VelmoraNodePluginProtocol& plugin, const SalvoStep& step) {
    if (possibleValues(plugin, step.name).canBeSet(step.value)) return {};
    return Failure{"did not set " + stepText(step) +
                   ": the plugin may read only the first four characters of a value, and take another" + kPossibleHint};
}

Result<void> checkStepOfSalvo(const VelmoraNodePluginProtocol& plugin, const Salvo& before, const SalvoStep& step) {
    if (const auto checked = checkStep(plugin, step); !checked) return checked;
    const Values values = possibleValues(plugin, step.name);
    const std::string meant = values.meantBy(step.value);
    if (!values.texts().empty() && !values.indexOf(meant))
        return Failure{"cannot set " + stepText(step) + ": it has no such value" + kPossibleHint};
    for (const SalvoStep& other : before) {
        if (other.name == step.name && !values.areSame(values.meantBy(other.value), meant))
            return Failure{"cannot set " + stepText(step) + ": it is to be set to " + inQuotes(other.value) + ", too"};
    }
    return {};
}

std::string doubtAboutLabel(const VelmoraNodePluginProtocol& plugin, const SalvoStep& step) {
    const auto meant = possibleValues(plugin, step.name).calledOtherwise(step.value);
    if (!meant) return "";
    return stepText(step) + ": this value is called " + inQuotes(*meant) + " now; the number counts";
}

StepOutcome performStep(PluginHost& host, const SalvoStep& step, Report& report) {
    const Values values = possibleValues(host.plugin(), step.name);
    const std::string meant = values.meantBy(step.value);
    StepOutcome outcome;
    std::string refusal;
    {
        const Attempt attempt(host);
        const Deadline delay = noticeOfDelay(step.name);
        if (host.plugin().setValueForAttributeWithName(meant, step.name) != 0) {
            report.complain("the plugin refused to set " + stepText(step) + ": " + attempt.reason() + kPossibleHint);
            outcome.reading.isAnswered = attempt.isAnswered();
            return outcome;
        }
        if (attempt.isAnswered() == false) refusal = ": " + attempt.reason();
        outcome.ranOutOfTime = attempt.ranOutOfTime();
    }
    // One time-out is enough to wait for.
    outcome.reading = outcome.ranOutOfTime ? unread(host) : readValue(host, step.name);
    const Reading& reading = outcome.reading;
    outcome.ranOutOfTime = outcome.ranOutOfTime || reading.ranOutOfTime;
    outcome.holds = reading.value && values.areSame(*reading.value, meant);
    if (outcome.holds) {
        if (!refusal.empty())
            complain(stepText(step) + ": the device has the value, but gave no usable answer when it was set" +
                     refusal);
        return outcome;
    }
    if (!reading.value && !reading.reason.empty()) report.complain(absenceText(step.name, reading));
    report.complain(stepText(step) + ": the value was handed on" + refusal +
                    (reading.value ? "; the device has another: " + inQuotes(*reading.value)
                                   : "; it is not known whether the device has it"));
    return outcome;
}

}  // namespace velmora
