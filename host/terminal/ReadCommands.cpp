#include "host/terminal/ReadCommands.h"

#include <QDateTime>
#include <QJsonArray>
#include <utility>

#include "host/Console.h"
#include "host/Naming.h"
#include "host/PluginState.h"
#include "host/Quotes.h"
#include "host/Salvo.h"
#include "host/terminal/Json.h"
#include "host/terminal/TextTable.h"
#include "platform/foundation/QtText.h"

namespace velmora {

namespace {

QJsonObject summary(const VelmoraNodePluginProtocol& plugin, const QJsonValue& records) {
    return {{"plugin", jsonValue(plugin.pluginName())},
            {"version", jsonValue(plugin.pluginVersionString())},
            {"attributes", records}};
}

// A step that brings the value back. Of a value with a number the label may be written in another way.
Result<SalvoStep> stepTo(const VelmoraNodePluginProtocol& plugin, const std::string& name, const Reading& reading) {
    if (!reading.value) return Failure{"not known"};
    const std::string& value = *reading.value;
    const Values values = possibleValues(plugin, name);
    if (!values.canBeSet(value)) return Failure{"its value " + inQuotes(value) + " cannot be set"};
    SalvoStep step{name, values.areNumbered() ? stringByEscapingControlCharacters(value) : value};
    if (const auto line = documentWithSalvo({step}); !line) return line.failure();
    return step;
}

}  // namespace

ExitCode ReadCommands::attributes() {
    const VelmoraNodePluginProtocol& plugin = context_.plugin();
    const bool isJson = context_.report.isJson();
    if (const ExitCode code = preparation_.waitForAttributes(); code != ExitCode::done)
        return isJson ? context_.report.print(summary(plugin, QJsonValue()), code) : code;
    QJsonArray records;
    std::vector<std::vector<std::string>> table = {
        {"NAME", "DISPLAY NAME", "DIRECTION", "TYPE", "DEFAULT", "CURRENT", "POSSIBLE"}};
    const StringList names = plugin.attributeNames();  // the plugin need not keep it
    for (const std::string& name : *names) {
        const Reading reading = read(name);
        const Values values = possibleValues(plugin, name);
        const auto direction = plugin.directionOfAttributeWithName(name);
        const auto type = plugin.typeOfAttributeWithName(name);
        const auto byDefault = plugin.defaultValueOfAttributeWithName(name);
        if (isJson) {
            QJsonObject record = recordOf(context_, name, reading);
            record.insert("direction", jsonValue(direction));
            record.insert("type", jsonValue(type));
            record.insert("default", jsonValue(byDefault));
            record.insert("possible", jsonValue(*values.settable()));
            records.append(record);
            continue;
        }
        table.push_back({name, plugin.displayNameOfAttributeWithName(name).value_or(""), direction.value_or(""),
                         type.value_or(""), byDefault.value_or(""), shownValue(reading),
                         std::to_string(values.settable()->size())});
    }
    const ExitCode code = isWhole_ ? ExitCode::done : withoutAnswer();
    if (isJson) return context_.report.print(summary(plugin, records), code);
    printText(textTable(std::move(table)));
    return code;
}

ExitCode ReadCommands::possible(const std::string& written) {
    if (const ExitCode code = preparation_.waitForAttributes(); code != ExitCode::done)
        return printPossible(written, nullptr, code);
    const auto name = Naming(context_.plugin(), context_.settings).attributeMeantBy(written);
    if (!name) return printPossible(written, nullptr, context_.report.fail(ExitCode::refused, name.failure().reason));
    if (connectionIsLost(context_.host)) {
        context_.report.complain("the connection ended before all values were named: " +
                                 context_.host.connectionStatus()->reason);
        return printPossible(*name, nullptr, withoutAnswer());
    }
    const Values values = possibleValues(context_.plugin(), *name);
    const StringList settable = values.settable();
    if (const auto hidden = values.texts().size() - settable->size(); hidden > 0) {
        complain("values left out: " + std::to_string(hidden) +
                 "; the plugin may read only the first four characters of a value, and take another");
    }
    return printPossible(*name, settable, ExitCode::done);
}

// Null stands for values that are not known. Whether the device has answered for each of them, no plugin tells.
ExitCode ReadCommands::printPossible(const std::string& name, const StringList& values, ExitCode code) const {
    if (context_.report.isJson()) {
        QJsonObject document{{"name", jsonValue(name)}, {"possible", values ? jsonValue(*values) : QJsonValue()}};
        if (values == nullptr) addAnswer(document, unread(context_.host));
        return context_.report.print(document, code);
    }
    if (values == nullptr) return code;
    for (const std::string& value : *values) {
        printLine(value);
    }
    return code;
}

ExitCode ReadCommands::get() {
    const auto& names = context_.options.arguments;
    return names.size() == 1 ? getOne(names.front()) : getSeveral();
}

ExitCode ReadCommands::getOne(const std::string& written) {
    Report& report = context_.report;
    ExitCode code = preparation_.waitForAttributes();
    const auto name = Naming(context_.plugin(), context_.settings).attributeMeantBy(written);
    if (code == ExitCode::done && !name) code = report.fail(ExitCode::refused, name.failure().reason);
    if (code != ExitCode::done)
        return report.isJson() ? report.print(recordOf(context_, written, unread(context_.host)), code) : code;
    const Reading reading = read(*name);
    if (!reading.value) code = withoutAnswer();
    if (report.isJson()) return report.print(recordOf(context_, *name, reading), code);
    if (reading.value) printLine(*reading.value);
    return code;
}

ExitCode ReadCommands::getSeveral() {
    Report& report = context_.report;
    if (const ExitCode code = preparation_.waitForAttributes(); code != ExitCode::done) return code;
    const auto names = attributesAskedFor();
    if (!names || names->empty()) return ExitCode::refused;
    QJsonArray records;
    std::vector<std::vector<std::string>> table = {{"NAME", "DISPLAY NAME", "CURRENT"}};
    for (const std::string& name : *names) {
        const Reading reading = read(name);
        if (report.isJson()) records.append(recordOf(context_, name, reading));
        table.push_back(
            {name, context_.plugin().displayNameOfAttributeWithName(name).value_or(""), shownValue(reading)});
    }
    const ExitCode code = isWhole_ ? ExitCode::done : withoutAnswer();
    if (report.isJson()) return report.print({{"attributes", records}}, code);
    printText(textTable(std::move(table)));
    return code;
}

ExitCode ReadCommands::dump() {
    if (const ExitCode code = preparation_.waitForAttributes(); code != ExitCode::done) return code;
    const bool isJson = context_.report.isJson();
    const std::string time = QDateTime::currentDateTime().toString(Qt::ISODate).toStdString();
    const auto server = selectedServer(context_.plugin());
    if (!isJson) printLine("# " + server.value_or(context_.plugin().pluginName()) + ", " + time);
    const StringList names = context_.plugin().attributeNames();
    QJsonArray steps;
    for (const std::string& name : *names) {
        const Reading reading = read(name);
        const auto step = stepTo(context_.plugin(), name, reading);
        if (reading.value && !step) {
            context_.report.complain(inQuotes(name) + ": " + step.failure().reason);
            isWhole_ = false;
        }
        if (isJson) {
            QJsonObject record = recordOf(context_, name, reading);
            record.insert("value", step ? jsonValue(step->value) : QJsonValue());
            steps.append(record);
        } else if (step) {
            printText(*documentWithSalvo({*step}));
        } else {
            printLine("# " + name + ": " + step.failure().reason);
        }
    }
    const ExitCode code = isWhole_ ? ExitCode::done : withoutAnswer();
    if (!isJson) return code;
    return context_.report.print({{"server", jsonValue(server)}, {"time", jsonValue(time)}, {"steps", steps}}, code);
}

std::optional<std::vector<std::string>> ReadCommands::attributesAskedFor() const {
    if (context_.options.all) return *context_.plugin().attributeNames();
    std::vector<std::string> names;
    const Naming naming(context_.plugin(), context_.settings);
    for (const std::string& written : context_.options.arguments) {
        const auto name = naming.attributeMeantBy(written);
        if (!name) {
            context_.report.complain(name.failure().reason);
            continue;
        }
        names.push_back(*name);
    }
    if (names.size() < context_.options.arguments.size()) return std::nullopt;
    return names;
}

Reading ReadCommands::read(const std::string& name) {
    // One time-out is enough to wait for.
    if (ranOutOfTime_) return unread(context_.host);
    Reading reading = readValue(context_.host, name);
    if (reading.value) return reading;
    context_.report.complain(absenceText(name, reading) + (reading.ranOutOfTime ? "; nothing more was asked" : ""));
    isWhole_ = false;
    ranOutOfTime_ = ranOutOfTime_ || reading.ranOutOfTime;
    return reading;
}

ExitCode ReadCommands::withoutAnswer() const {
    return ranOutOfTime_ || preparation_.ranOutOfTime() ? ExitCode::timedOut : ExitCode::refused;
}

}  // namespace velmora
