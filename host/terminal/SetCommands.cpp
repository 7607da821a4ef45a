#include "host/terminal/SetCommands.h"

#include <QJsonArray>
#include <algorithm>
#include <csignal>
#include <optional>
#include <utility>

#include "host/CommandTable.h"
#include "host/Console.h"
#include "host/Naming.h"
#include "host/Patience.h"
#include "host/PluginState.h"
#include "host/terminal/Json.h"
#include "host/terminal/TextTable.h"
#include "platform/threads/Interruption.h"

namespace velmora {

ExitCode SetCommands::set() {
    const auto& words = context_.options.arguments;
    ExitCode code = preparation_.waitForAttributes();
    const bool isName = Naming(context_.plugin(), context_.settings).attributeMeantBy(words[0]) ||
                        words[0].find('=') == std::string::npos;
    const bool areNameAndValue = words.size() == 2 && isName;
    std::optional<Salvo> salvo;
    const auto checked = areNameAndValue ? Result<void>() : checkSteps(words);
    if (code == ExitCode::done && !checked) return context_.report.fail(ExitCode::unusable, checked.failure().reason);
    if (code == ExitCode::done) {
        salvo = usableSteps(areNameAndValue);
        if (!salvo) code = ExitCode::refused;
    }
    const bool isOne = areNameAndValue || words.size() == 1;
    if (salvo && !isOne) return run(*salvo);
    if (salvo) {
        const Row row = perform(salvo->front());
        return printOne(row, row.isGood ? ExitCode::done : failure());
    }
    if (!isOne) return code;
    // The words as they are: they name nothing.
    const SalvoStep written = areNameAndValue ? SalvoStep{words[0], words[1]} : splitsOf(words[0]).front();
    return printOne({written, unread(context_.host), "", false}, code);
}

ExitCode SetCommands::apply() {
    if (const ExitCode code = preparation_.waitForAttributes(); code != ExitCode::done) return code;
    const auto salvo = usableSteps(false);
    return salvo ? run(*salvo) : ExitCode::refused;
}

std::optional<Salvo> SetCommands::usableSteps(bool areNameAndValue) const {
    const Naming naming(context_.plugin(), context_.settings);
    const auto& words = context_.options.arguments;
    Salvo salvo;
    bool areUsable = true;
    const auto take = [&](const Result<SalvoStep>& step, const std::string& place) {
        const auto checked = step ? checkStepOfSalvo(context_.plugin(), salvo, *step) : Result<void>(step.failure());
        areUsable = areUsable && checked;
        if (!checked) return context_.report.complain(place + checked.failure().reason);
        const std::string doubt = doubtAboutLabel(context_.plugin(), *step);
        if (!doubt.empty()) complain(place + doubt);
        salvo.push_back(*step);
    };
    if (areNameAndValue) {
        const auto name = naming.attributeMeantBy(words[0]);
        // Of a single value the plugin itself says why it cannot be set.
        const auto checked = name ? checkStep(context_.plugin(), {*name, words[1]}) : Result<void>(name.failure());
        if (checked) return Salvo{{*name, words[1]}};
        context_.report.complain(checked.failure().reason);
        return std::nullopt;
    }
    for (const SalvoLine& line : context_.options.steps) {
        const bool isOfFile = context_.options.command == CommandName::apply;
        take(naming.stepMeantBy(line.text), isOfFile ? "line " + std::to_string(line.number) + ": " : "");
    }
    return areUsable ? std::optional(std::move(salvo)) : std::nullopt;
}

ExitCode SetCommands::printOne(const Row& row, ExitCode code) const {
    if (context_.report.isJson()) return context_.report.print(document(row), code);
    if (row.reading.value) printLine(*row.reading.value);
    return code;
}

// After a signal nothing more is set, but all is told.
ExitCode SetCommands::run(const Salvo& salvo) {
    std::optional<Interruption> held(std::in_place, [] {});
    std::optional<Patience> patience(std::in_place, *held);
    const bool isDryRun = context_.options.dryRun;
    std::vector<std::vector<std::string>> table = {{"NAME", "DISPLAY NAME", "CURRENT", isDryRun ? "NEW" : "RESULT"}};
    QJsonArray steps;
    bool isGood = true;
    for (const SalvoStep& step : salvo) {
        const bool isStopped = held->signal() != 0;
        const Row row = isStopped  ? Row{step, unread(context_.host), "not tried", false}
                        : isDryRun ? foresee(step)
                                   : perform(step);
        isGood = isGood && row.isGood;
        steps.append(document(row));
        table.push_back({step.name, context_.plugin().displayNameOfAttributeWithName(step.name).value_or(""),
                         shownValue(row.reading), row.result});
    }
    const int signal = held->signal();
    patience.reset();
    held.reset();
    if (signal != 0) context_.report.complain("interrupted; the rest was not tried");
    const ExitCode code = isGood ? ExitCode::done : failure();
    if (context_.report.isJson()) {
        context_.report.print({{"dryRun", isDryRun}, {"steps", steps}}, code);
    } else {
        printText(textTable(std::move(table)));
    }
    if (signal != 0) std::raise(signal);
    return code;
}

SetCommands::Row SetCommands::perform(const SalvoStep& step) {
    // Where the connection is lost, each further step would only wait for it.
    if (connectionIsLost(context_.host)) {
        context_.report.complain("did not set " + stepText(step) + ": the connection is lost");
        return {step, unread(context_.host), "not tried", false};
    }
    const StepOutcome outcome = performStep(context_.host, step, context_.report);
    ranOutOfTime_ = ranOutOfTime_ || outcome.ranOutOfTime;
    return {step, outcome.reading, outcome.holds ? "done" : "failed", outcome.holds};
}

SetCommands::Row SetCommands::foresee(const SalvoStep& step) {
    const Values values = possibleValues(context_.plugin(), step.name);
    const std::string meant = values.meantBy(step.value);
    // One time-out is enough to wait for.
    Row row{step, ranOutOfTime_ ? unread(context_.host) : readValue(context_.host, step.name), meant, true};
    if (!row.reading.value) {
        if (!ranOutOfTime_) context_.report.complain(absenceText(step.name, row.reading));
        ranOutOfTime_ = ranOutOfTime_ || row.reading.ranOutOfTime;
        row.isGood = false;
    } else if (values.areSame(*row.reading.value, meant)) {
        row.result = "unchanged";
    }
    return row;
}

QJsonObject SetCommands::document(const Row& row) const {
    QJsonObject record = recordOf(context_, row.step.name, row.reading);
    record.insert("value", jsonValue(row.step.value));
    if (!row.result.empty()) record.insert("result", jsonValue(row.result));
    return record;
}

ExitCode SetCommands::failure() const {
    return ranOutOfTime_ || preparation_.ranOutOfTime() ? ExitCode::timedOut : ExitCode::refused;
}

}  // namespace velmora
