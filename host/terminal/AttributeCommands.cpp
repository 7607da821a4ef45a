#include "host/terminal/AttributeCommands.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <utility>

#include "host/Attempt.h"
#include "host/Console.h"
#include "host/PluginState.h"
#include "host/Quotes.h"
#include "host/terminal/Json.h"
#include "host/terminal/TextTable.h"

namespace velmora {

namespace {

constexpr const char* kPossibleHint = "; \"velmora-host possible\" lists the values that it takes";

void addAnswer(QJsonObject& document, const std::optional<bool>& isAnswered) {
    if (isAnswered) document.insert("answered", *isAnswered);
}

QJsonObject summary(const VelmoraNodePluginProtocol& plugin, const QJsonValue& records) {
    return {{"plugin", jsonValue(plugin.pluginName())},
            {"version", jsonValue(plugin.pluginVersionString())},
            {"attributes", records}};
}

}  // namespace

ExitCode AttributeCommands::attributes() {
    const VelmoraNodePluginProtocol& plugin = host_.plugin();
    if (const ExitCode code = preparation_.waitForAttributes(); code != ExitCode::done) {
        if (options_.json) printJson(summary(plugin, QJsonValue()));
        return code;
    }
    QJsonArray records;
    std::vector<std::vector<std::string>> table = {
        {"NAME", "DISPLAY NAME", "DIRECTION", "TYPE", "DEFAULT", "CURRENT", "POSSIBLE"}};
    bool isWhole = true;
    const StringList names = plugin.attributeNames();  // the plugin need not keep it
    for (const std::string& name : *names) {
        const Current current = currentValue(name);
        isWhole = isWhole && current.value;
        if (options_.json) {
            records.append(record(name, current));
            continue;
        }
        table.push_back({name, plugin.displayNameOfAttributeWithName(name).value_or(""),
                         plugin.directionOfAttributeWithName(name).value_or(""),
                         plugin.typeOfAttributeWithName(name).value_or(""),
                         plugin.defaultValueOfAttributeWithName(name).value_or(""), current.value.value_or("not known"),
                         std::to_string(possibleValues(plugin, name).settable()->size())});
    }
    if (options_.json) {
        printJson(summary(plugin, records));
    } else {
        printText(textTable(std::move(table)));
    }
    return isWhole ? ExitCode::done : withoutAnswer();
}

QJsonObject AttributeCommands::record(const std::string& name, const Current& current) const {
    const VelmoraNodePluginProtocol& plugin = host_.plugin();
    QJsonObject record{{"name", jsonValue(name)},
                       {"displayName", jsonValue(plugin.displayNameOfAttributeWithName(name))},
                       {"direction", jsonValue(plugin.directionOfAttributeWithName(name))},
                       {"type", jsonValue(plugin.typeOfAttributeWithName(name))},
                       {"default", jsonValue(plugin.defaultValueOfAttributeWithName(name))},
                       {"current", jsonValue(current.value)},
                       {"possible", jsonValue(*possibleValues(plugin, name).settable())}};
    addAnswer(record, current.isAnswered);
    return record;
}

ExitCode AttributeCommands::possible(const std::string& name) {
    if (const ExitCode code = preparation_.waitForAttribute(name); code != ExitCode::done) {
        printPossible(name, nullptr);
        return code;
    }
    if (connectionIsLost(host_)) {
        complain("the connection ended before all values were named: " + host_.connectionStatus()->reason);
        printPossible(name, nullptr);
        return withoutAnswer();
    }
    const Values values = possibleValues(host_.plugin(), name);
    const StringList settable = values.settable();
    printPossible(name, settable);
    if (const auto hidden = values.texts().size() - settable->size(); hidden > 0) {
        complain("values left out: " + std::to_string(hidden) +
                 "; the plugin may read only the first four characters of a value, and take another");
    }
    return ExitCode::done;
}

// Null stands for values that are not known. Whether the device has answered for each of them, no plugin tells.
void AttributeCommands::printPossible(const std::string& name, const StringList& values) const {
    if (options_.json) {
        QJsonObject document{{"name", jsonValue(name)}, {"possible", values ? jsonValue(*values) : QJsonValue()}};
        if (values == nullptr) addAnswer(document, unasked().isAnswered);
        printJson(document);
    } else if (values != nullptr) {
        for (const std::string& value : *values) {
            printLine(value);
        }
    }
}

ExitCode AttributeCommands::get(const std::string& name) {
    const QJsonObject document{{"name", jsonValue(name)}};
    if (const ExitCode code = preparation_.waitForAttribute(name); code != ExitCode::done) {
        printCurrent(document, unasked());
        return code;
    }
    const Current current = currentValue(name);
    printCurrent(document, current);
    return current.value ? ExitCode::done : withoutAnswer();
}

ExitCode AttributeCommands::set(const std::string& name, const std::string& value) {
    const QJsonObject document{{"name", jsonValue(name)}, {"value", jsonValue(value)}};
    if (const ExitCode code = preparation_.waitForAttribute(name); code != ExitCode::done) {
        printCurrent(document, unasked());
        return code;
    }
    const Values values = possibleValues(host_.plugin(), name);
    const std::string what = inQuotes(name) + " to " + inQuotes(value);
    if (!values.canBeSet(value)) {
        complain("did not set " + what +
                 ": the plugin may read only the first four characters of a value, and take another" + kPossibleHint);
        printCurrent(document, unasked());
        return ExitCode::refused;
    }
    const std::string meant = values.meantBy(value);
    std::string refusal;
    {
        const Attempt attempt(host_);
        if (host_.plugin().setValueForAttributeWithName(meant, name) != 0) {
            complain("the plugin refused to set " + what + ": " + attempt.reason() + kPossibleHint);
            printCurrent(document, {std::nullopt, attempt.isAnswered()});
            return ExitCode::refused;
        }
        if (attempt.isAnswered() == false) refusal = ": " + attempt.reason();
        ranOutOfTime_ = ranOutOfTime_ || attempt.ranOutOfTime();
    }
    // The plugin has handed the value on; whether the device carried it out, only reading it back tells.
    const Current current = currentValue(name);
    printCurrent(document, current);
    if (current.value && values.areSame(*current.value, meant)) {
        if (!refusal.empty()) complain("the device has the value, but gave no usable answer when it was set" + refusal);
        return ExitCode::done;
    }
    complain("the value was handed on" + refusal +
             (current.value ? "; the device has another: " + inQuotes(*current.value)
                            : "; it is not known whether the device has it"));
    return withoutAnswer();
}

ExitCode AttributeCommands::withoutAnswer() const {
    return ranOutOfTime_ || preparation_.ranOutOfTime() ? ExitCode::timedOut : ExitCode::refused;
}

AttributeCommands::Current AttributeCommands::currentValue(const std::string& name) {
    const Attempt attempt(host_);
    const std::string value = host_.plugin().currentValueOfAttributeWithName(name);
    QCoreApplication::processEvents();  // the connection's end may follow at once on what looked like a reply
    const auto isAnswered = attempt.isAnswered();
    if (!value.empty() && isAnswered.value_or(true)) return {value, isAnswered};
    ranOutOfTime_ = ranOutOfTime_ || attempt.ranOutOfTime();
    complain("there is no current value of " + inQuotes(name) + ": " + attempt.reason());
    return {std::nullopt, isAnswered};
}

AttributeCommands::Current AttributeCommands::unasked() const {
    return {std::nullopt, host_.lastOutcome() ? std::optional(false) : std::nullopt};
}

void AttributeCommands::printCurrent(QJsonObject document, const Current& current) const {
    if (options_.json) {
        document.insert("current", jsonValue(current.value));
        addAnswer(document, current.isAnswered);
        printJson(document);
    } else if (current.value) {
        printLine(*current.value);
    }
}

}  // namespace velmora
