#include "host/terminal/Reading.h"

#include <QCoreApplication>

#include "host/Attempt.h"
#include "host/Console.h"
#include "host/Naming.h"
#include "host/PluginState.h"
#include "host/Quotes.h"
#include "host/terminal/Json.h"

namespace velmora {

namespace {

constexpr std::chrono::milliseconds kNoticeTime{2000};

}  // namespace

Reading readValue(PluginHost& host, const std::string& name) {
    const Attempt attempt(host);
    const Deadline delay = noticeOfDelay(name);
    const std::string value = host.plugin().currentValueOfAttributeWithName(name);
    QCoreApplication::processEvents();  // the connection's end may follow at once on what looked like a reply
    const auto isAnswered = attempt.isAnswered();
    if (value.empty() || !isAnswered.value_or(true))
        return {std::nullopt, isAnswered, attempt.ranOutOfTime(), attempt.reason()};
    return {labelled(possibleValues(host.plugin(), name), value), isAnswered, false, ""};
}

Deadline noticeOfDelay(const std::string& name) {
    return Deadline(kNoticeTime, [name] {
        complain("waiting for the device's answer for " + inQuotes(name) +
                 "; the plugin gives each command ten seconds at most");
    });
}

Reading unread(const PluginHost& host) {
    return {std::nullopt, host.lastOutcome() ? std::optional(false) : std::nullopt, false, ""};
}

std::string absenceText(const std::string& name, const Reading& reading) {
    return "there is no current value of " + inQuotes(name) + ": " + reading.reason;
}

std::string labelled(const Values& values, const std::string& value) {
    const auto index = values.indexOf(value);
    return index ? values.texts()[*index] : value;
}

std::string shownValue(const Reading& reading) {
    return reading.value.value_or("not known");
}

QJsonObject recordOf(const Context& context, const std::string& name, const Reading& reading) {
    QJsonObject record{{"name", jsonValue(name)},
                       {"displayName", jsonValue(context.plugin().displayNameOfAttributeWithName(name))},
                       {"current", jsonValue(reading.value)}};
    if (const auto output = Naming(context.plugin(), context.settings).outputOf(name))
        record.insert("output", static_cast<qint64>(*output));
    const Values values = possibleValues(context.plugin(), name);
    const auto index = reading.value ? values.indexOf(*reading.value) : std::nullopt;
    if (index && values.areNumbered()) record.insert("input", static_cast<qint64>(*index + 1));
    addAnswer(record, reading);
    return record;
}

void addAnswer(QJsonObject& document, const Reading& reading) {
    if (reading.isAnswered) document.insert("answered", *reading.isAnswered);
}

}  // namespace velmora
