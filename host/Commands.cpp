#include "host/Commands.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QJsonArray>
#include <QTimer>
#include <algorithm>

#include "host/Attempt.h"
#include "host/Console.h"
#include "host/DefaultRoutes.h"
#include "host/Json.h"
#include "host/Patience.h"
#include "host/PluginState.h"
#include "host/SettingsCheck.h"
#include "host/TextTable.h"
#include "host/Waiting.h"
#include "platform/foundation/PropertyListXML.h"
#include "platform/foundation/Text.h"
#include "platform/threads/Interruption.h"

namespace velmora {

namespace {

// A list of servers is taken as whole when it has not changed for so long (milliseconds).
constexpr std::chrono::milliseconds kQuietTime{1500};

std::string secondsText(std::chrono::milliseconds time) {
    return QString::number(static_cast<double>(time.count()) / 1000.0).toStdString() + " s";
}

std::string listed(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names) {
        text += (text.empty() ? "" : ", ") + inQuotes(name);
    }
    return text;
}

void addAnswer(QJsonObject& document, const std::optional<bool>& isAnswered) {
    if (isAnswered) document.insert("answered", *isAnswered);
}

}  // namespace

Commands::Commands(PluginHost& host, const Options& options) : host_(host), options_(options) {}

ExitCode Commands::run() {
    switch (options_.command) {
        case CommandName::servers:
            return servers();
        case CommandName::attributes:
            return attributes();
        case CommandName::possible:
            return possible(options_.arguments[0]);
        case CommandName::get:
            return get(options_.arguments[0]);
        case CommandName::set:
            return set(options_.arguments[0], options_.arguments[1]);
        case CommandName::settings:
            return settings();
        case CommandName::watch:
            return watch();
        case CommandName::workbench:
            break;  // has a window, and is no command of this class
    }
    return ExitCode::unusable;
}

ExitCode Commands::servers() {
    if (!start()) return ExitCode::refused;
    if (!knowsServers(host_.plugin())) {
        complain("the plugin does not tell of switch servers");
        return ExitCode::refused;
    }
    const std::string selected = selectedServer(host_.plugin()).value_or("");
    std::vector<std::string> names;
    QTimer unchanged;
    unchanged.setSingleShot(true);
    unchanged.start(kQuietTime);
    const auto found = [&] { return selected.empty() ? !names.empty() : isServerAvailable(host_.plugin(), selected); };
    waitUntil(
        [&] {
            if (auto now = availableServers(host_.plugin()); now != names) {
                names = std::move(now);
                unchanged.start(kQuietTime);
            }
            return found() && !unchanged.isActive();
        },
        options_.wait);

    if (options_.json) {
        const auto name = selected.empty() ? std::nullopt : std::optional(selected);
        printJson({{"servers", jsonValue(names)}, {"selected", jsonValue(name)}});
    } else {
        for (const std::string& name : names) {
            printLine((name == selected ? "* " : "  ") + name);
        }
    }
    if (found()) return ExitCode::done;
    complain((selected.empty() ? "no switch server was found within "
                               : "the selected switch server " + inQuotes(selected) + " was not found within ") +
             secondsText(options_.wait) +
             "; check that it runs and is announced on a network interface that is looked at (--interface), or wait "
             "longer (--wait)");
    return ExitCode::timedOut;
}

ExitCode Commands::attributes() {
    if (!start()) return ExitCode::refused;
    if (!waitForAttributes()) return ExitCode::timedOut;
    VelmoraNodePluginProtocol& plugin = host_.plugin();
    QJsonArray records;
    TextTable table({"NAME", "DISPLAY NAME", "DIRECTION", "TYPE", "DEFAULT", "CURRENT", "POSSIBLE"});
    const StringList names = plugin.attributeNames();
    bool isWhole = true;
    for (const std::string& name : *names) {
        const Current current = currentValue(name);
        isWhole = isWhole && current.value;
        const auto displayName = plugin.displayNameOfAttributeWithName(name);
        const auto direction = plugin.directionOfAttributeWithName(name);
        const auto type = plugin.typeOfAttributeWithName(name);
        const auto defaultValue = plugin.defaultValueOfAttributeWithName(name);
        const StringList values = possibleValues(plugin, name).settable();
        if (options_.json) {
            QJsonObject record{{"name", jsonValue(name)},
                               {"displayName", jsonValue(displayName)},
                               {"direction", jsonValue(direction)},
                               {"type", jsonValue(type)},
                               {"default", jsonValue(defaultValue)},
                               {"current", jsonValue(current.value)},
                               {"possible", jsonValue(*values)}};
            addAnswer(record, current.isAnswered);
            records.append(record);
        } else {
            table.addRow({name, displayName.value_or(""), direction.value_or(""), type.value_or(""),
                          defaultValue.value_or(""), current.value.value_or("not known"),
                          std::to_string(values->size())});
        }
    }
    if (options_.json) {
        printJson({{"plugin", jsonValue(plugin.pluginName())},
                   {"version", jsonValue(plugin.pluginVersionString())},
                   {"attributes", records}});
    } else {
        printText(table.text());
    }
    return isWhole ? ExitCode::done : withoutAnswer();
}

ExitCode Commands::possible(const std::string& name) {
    if (const ExitCode code = waitForAttribute(name); code != ExitCode::done) return code;
    const Values values = possibleValues(host_.plugin(), name);
    const StringList settable = values.settable();
    const auto status = host_.connectionStatus();
    const bool isWhole = !connectionIsLost(host_);
    if (options_.json) {
        QJsonObject document{{"name", jsonValue(name)}, {"possible", isWhole ? jsonValue(*settable) : QJsonValue()}};
        if (status) addAnswer(document, isWhole);
        printJson(document);
    } else if (isWhole) {
        for (const std::string& value : *settable) {
            printLine(value);
        }
    }
    if (!isWhole) {
        complain("the connection ended before all values were named: " + status->reason);
        return withoutAnswer();
    }
    if (const auto hidden = values.texts().size() - settable->size(); hidden > 0) {
        complain("values left out: " + std::to_string(hidden) +
                 "; the plugin reads the first four characters of a value, and would take another");
    }
    return ExitCode::done;
}

ExitCode Commands::get(const std::string& name) {
    if (const ExitCode code = waitForAttribute(name); code != ExitCode::done) return code;
    const Current current = currentValue(name);
    printCurrent({{"name", jsonValue(name)}}, current);
    return current.value ? ExitCode::done : withoutAnswer();
}

ExitCode Commands::set(const std::string& name, const std::string& value) {
    if (const ExitCode code = waitForAttribute(name); code != ExitCode::done) return code;
    const Values values = possibleValues(host_.plugin(), name);
    const std::string what = inQuotes(name) + " to " + inQuotes(value);
    const std::string hint = "; \"velmora-host possible\" lists the values that it takes";
    if (!values.canBeSet(value)) {
        complain("did not set " + what +
                 ": the plugin reads a number from the first four characters of a value, and would take another" +
                 hint);
        return ExitCode::refused;
    }
    const std::string meant = values.meantBy(value);
    QJsonObject document{{"name", jsonValue(name)}, {"value", jsonValue(value)}};
    std::string refusal;
    {
        const Attempt attempt(host_);
        if (host_.plugin().setValueForAttributeWithName(meant, name) != 0) {
            complain("the plugin refused to set " + what + ": " + attempt.reason() + hint);
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
        if (!refusal.empty())
            complain("the device has the value, but gave no answer of use to its being set" + refusal);
        return ExitCode::done;
    }
    complain("the value was handed on" + refusal +
             (current.value ? "; the device has another: " + inQuotes(*current.value)
                            : "; whether the device has it, is not known"));
    return withoutAnswer();
}

ExitCode Commands::withoutAnswer() const {
    return ranOutOfTime_ ? ExitCode::timedOut : ExitCode::refused;
}

Commands::Current Commands::currentValue(const std::string& name) {
    const Attempt attempt(host_);
    const std::string value = host_.plugin().currentValueOfAttributeWithName(name);
    serveEventsOnce();  // the connection's end may come right behind what looked like a reply
    const auto isAnswered = attempt.isAnswered();
    if (!value.empty() && isAnswered.value_or(true)) return {value, isAnswered};
    ranOutOfTime_ = ranOutOfTime_ || attempt.ranOutOfTime();
    complain("there is no current value of " + inQuotes(name) + ": " + attempt.reason());
    return {std::nullopt, isAnswered};
}

void Commands::printCurrent(QJsonObject document, const Current& current) const {
    if (options_.json) {
        document.insert("current", jsonValue(current.value));
        addAnswer(document, current.isAnswered);
        printJson(document);
    } else if (current.value) {
        printLine(*current.value);
    }
}

ExitCode Commands::settings() {
    const PropertyList settings(host_.plugin().defaultSettings());
    if (options_.json) {
        printJson(jsonOfPropertyList(settings).toObject());
        return ExitCode::done;
    }
    std::string error;
    const auto document = XMLWithPropertyList(settings, &error);
    if (!document) {
        complain("the plugin's settings cannot be shown: " + error);
        return ExitCode::refused;
    }
    printText(*document);
    return ExitCode::done;
}

ExitCode Commands::watch() {
    QEventLoop loop;
    const Interruption interruption([&] { loop.quit(); });
    const Patience patience(interruption);
    // After a notice, not inside it.
    QTimer afterNotice;
    afterNotice.setSingleShot(true);
    QObject::connect(&afterNotice, &QTimer::timeout, &loop, [&] {
        std::string error;
        if (!host_.saveSettings(&error)) complain("the plugin's settings could not be saved: " + error);
        if (attributesAreComplete(host_.plugin())) warnOfDefaultsBeyondMatrix();
        if (!outputIsGood()) loop.quit();
    });
    host_.setAttributesObserver([&] {
        printChangeNotice();
        afterNotice.start(0);
    });
    const bool started = start();
    if (started) loop.exec();
    host_.setAttributesObserver(nullptr);
    return started ? ExitCode::done : ExitCode::refused;
}

void Commands::printChangeNotice() const {
    const VelmoraNodePluginProtocol& plugin = host_.plugin();
    const std::string time = QDateTime::currentDateTime().toString(Qt::ISODateWithMs).toStdString();
    const StringList names = plugin.attributeNames();
    if (options_.json) {
        printJson(
            {{"time", jsonValue(time)}, {"plugin", jsonValue(plugin.pluginName())}, {"attributes", jsonValue(*names)}},
            QJsonDocument::Compact);
        return;
    }
    std::string line = time + ' ' + plugin.pluginName() + ": " + std::to_string(names->size()) +
                       (names->size() == 1 ? " attribute" : " attributes");
    if (!names->empty() && !attributesAreComplete(plugin)) line += ", without possible values as yet";
    printLine(line);
}

bool Commands::start() {
    if (options_.defaults) complain(std::string("starting with defaults: ") + kWhatDefaultsDo);
    if (host_.start(options_.defaults)) return true;
    complain("the plugin did not start; --verbose shows its log lines");
    return false;
}

bool Commands::waitForAttributes() {
    VelmoraNodePluginProtocol& plugin = host_.plugin();
    if (selectedServer(plugin) == "") {
        complain(
            "the settings name no switch server, so the plugin has no attributes; put the name of one that "
            "\"velmora-host servers\" lists "
            "under \"selectedDeviceName\" in a file and hand that over with --settings");
        return true;
    }
    QElapsedTimer waited;
    waited.start();
    if (!waitUntil([&] { return attributesAreThere(host_) || connectionIsLost(host_); }, options_.wait)) {
        complainOfMissingAttributes();
        // Of a plugin that says nothing of its device there is no more to be expected.
        return !selectedServer(plugin) && !host_.connectionStatus() && !plugin.attributeNames()->empty();
    }
    ranOutOfTime_ = connectionIsLost(host_) && waited.elapsed() >= options_.wait.count();
    if (selectedServer(plugin) && !hasConfiguredOutputs(plugin)) {
        complain(
            "the settings configure no outputs, so the plugin has no attributes; list some under \"configuredOutputs\" "
            "(\"velmora-host "
            "--help\" shows the format)");
    }
    warnOfDefaultsBeyondMatrix();
    return true;
}

void Commands::complainOfMissingAttributes() const {
    const std::string within = " within " + secondsText(options_.wait);
    const auto status = host_.connectionStatus();
    const std::string reason = status && !status->reason.empty() ? " (" + status->reason + ')' : "";
    const auto server = selectedServer(host_.plugin());
    if (!server) {
        complain("the plugin's attributes are not complete" + within + reason +
                 "; wait longer (--wait); --verbose shows the plugin's log lines");
        return;
    }
    if (isServerAvailable(host_.plugin(), *server)) {
        complain("the switch server " + inQuotes(*server) +
                 " was found, but did not connect and tell the size of its matrix" + within + reason +
                 "; check that it answers, or wait longer (--wait); --verbose shows the plugin's log lines");
        return;
    }
    const auto others = availableServers(host_.plugin());
    complain("the switch server " + inQuotes(*server) + " was not found" + within +
             (others.empty() ? "; nor was any other" : "; found were: " + listed(others)) +
             "; check the name in the settings (\"selectedDeviceName\"), and that the server runs and is announced on "
             "a network interface "
             "that is looked at (--interface), or wait longer (--wait)");
}

void Commands::warnOfDefaultsBeyondMatrix() {
    const auto inputs = numberOfInputs(host_.plugin());
    if (!inputs || inputs == inputs_) return;
    inputs_ = inputs;
    for (const std::string& doubt : doubtsAboutDefaults(host_.plugin().defaultSettings(), *inputs)) {
        complain(doubt);
    }
}

ExitCode Commands::waitForAttribute(const std::string& name) {
    if (!start()) return ExitCode::refused;
    if (!waitForAttributes()) return ExitCode::timedOut;
    const StringList names = host_.plugin().attributeNames();
    if (std::find(names->begin(), names->end(), name) != names->end()) return ExitCode::done;
    complain("the plugin has no attribute " + inQuotes(name) + (names->empty() ? "" : "; it has: " + listed(*names)));
    return ExitCode::refused;
}

}  // namespace velmora
