#include "host/Commands.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QJsonArray>
#include <QTimer>
#include <algorithm>

#include "host/Console.h"
#include "host/Json.h"
#include "host/PluginState.h"
#include "host/Reason.h"
#include "host/TextTable.h"
#include "host/Waiting.h"
#include "platform/foundation/PropertyListXML.h"
#include "platform/foundation/Text.h"
#include "platform/threads/Interruption.h"

namespace velmora {

namespace {

// A list of servers is taken as whole when it has not changed for so long (milliseconds).
constexpr qint64 kQuietTime = 1500;

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
    const std::string selected = selectedServer(host_.plugin());
    std::vector<std::string> names;
    QElapsedTimer unchanged;
    unchanged.start();
    const auto found = [&] { return selected.empty() ? !names.empty() : isServerAvailable(host_.plugin(), selected); };
    waitUntil(
        [&] {
            if (auto now = availableServers(host_.plugin()); now != names) {
                names = std::move(now);
                unchanged.start();
            }
            return found() && unchanged.elapsed() >= kQuietTime;
        },
        options_.wait);

    if (options_.json) {
        const auto name = selected.empty() ? std::nullopt : std::optional(selected);
        printJson({{"servers", jsonValue(names)}, {"selected", jsonValue(name)}});
    } else {
        for (const std::string& name : names) {
            printLine((name == selected ? "* " : "  ") + stringByEscapingControlCharacters(name));
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
        const auto current = currentValue(name);
        isWhole = isWhole && current;
        const auto displayName = plugin.displayNameOfAttributeWithName(name);
        const auto direction = plugin.directionOfAttributeWithName(name);
        const auto type = plugin.typeOfAttributeWithName(name);
        const auto defaultValue = plugin.defaultValueOfAttributeWithName(name);
        const StringList values = possibleValues(plugin, name);
        if (options_.json) {
            records.append(QJsonObject{{"name", jsonValue(name)},
                                       {"displayName", jsonValue(displayName)},
                                       {"direction", jsonValue(direction)},
                                       {"type", jsonValue(type)},
                                       {"default", jsonValue(defaultValue)},
                                       {"current", jsonValue(current)},
                                       {"possible", jsonValue(*values)}});
        } else {
            table.addRow({name, displayName.value_or(""), direction.value_or(""), type.value_or(""),
                          defaultValue.value_or(""), current.value_or(""), std::to_string(values->size())});
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
    const StringList values = possibleValues(host_.plugin(), name);
    if (connection_.hasEnded()) {
        complain("the connection ended before the server had named all inputs");
        return withoutAnswer();
    }
    if (options_.json) {
        printJson({{"name", jsonValue(name)}, {"possible", jsonValue(*values)}});
        return ExitCode::done;
    }
    for (const std::string& value : *values) {
        printLine(stringByEscapingControlCharacters(value));
    }
    return ExitCode::done;
}

ExitCode Commands::get(const std::string& name) {
    if (const ExitCode code = waitForAttribute(name); code != ExitCode::done) return code;
    const auto current = currentValue(name);
    if (!current) return withoutAnswer();
    if (options_.json) {
        printJson({{"name", jsonValue(name)}, {"current", jsonValue(current)}});
    } else {
        printLine(stringByEscapingControlCharacters(*current));
    }
    return ExitCode::done;
}

ExitCode Commands::set(const std::string& name, const std::string& value) {
    if (const ExitCode code = waitForAttribute(name); code != ExitCode::done) return code;
    const Reason reason;
    if (host_.plugin().setValueForAttributeWithName(value, name) != 0) {
        complain("the plugin refused to set " + inQuotes(name) + " to " + inQuotes(value) + ": " + reason.text() +
                 "; \"velmora-host possible\" lists the values that it takes");
        return ExitCode::refused;
    }
    // The plugin has handed the value to the switcher; whether that carried it out, only reading it back tells.
    const auto current = currentValue(name);
    if (options_.json) {
        printJson({{"name", jsonValue(name)}, {"value", jsonValue(value)}, {"current", jsonValue(current)}});
    } else if (current) {
        printLine(stringByEscapingControlCharacters(*current));
    }
    if (current && inputNumber(*current) == inputNumber(value)) return ExitCode::done;
    complain("the value was handed to the switcher" +
             (current ? ", which now has another: " + inQuotes(*current) : "; whether it has it, is not known"));
    return withoutAnswer();
}

ExitCode Commands::withoutAnswer() const {
    return connection_.end() == ConnectionWatch::noAnswer ? ExitCode::timedOut : ExitCode::refused;
}

std::optional<std::string> Commands::currentValue(const std::string& name) const {
    const Reason reason;
    std::string current = host_.plugin().currentValueOfAttributeWithName(name);
    if (const auto end = connection_.end()) {
        complain("there is no current value of " + inQuotes(name) + ": the connection " +
                 (end->empty() ? "has ended" : "failed: " + *end));
        return std::nullopt;
    }
    if (!current.empty()) return current;
    complain("the plugin refused to read " + inQuotes(name) + ": " + reason.text());
    return std::nullopt;
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
    // After a notice, not inside it.
    QTimer afterNotice;
    afterNotice.setSingleShot(true);
    QObject::connect(&afterNotice, &QTimer::timeout, &loop, [&] {
        std::string error;
        if (!host_.saveSettings(&error)) complain("the plugin's settings could not be saved: " + error);
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
    std::string line = time + ' ' + stringByEscapingControlCharacters(plugin.pluginName()) + ": " +
                       std::to_string(names->size()) + (names->size() == 1 ? " attribute" : " attributes");
    if (!names->empty() && !attributesAreComplete(plugin)) line += ", without possible values as yet";
    printLine(line);
}

bool Commands::start() {
    if (host_.start(options_.defaults)) return true;
    complain("the plugin did not start; --verbose shows its log lines");
    return false;
}

bool Commands::waitForAttributes() {
    VelmoraNodePluginProtocol& plugin = host_.plugin();
    const std::string server = selectedServer(plugin);
    if (server.empty()) {
        complain(
            "the settings name no switch server, so the plugin has no attributes; put the name of one that "
            "\"velmora-host servers\" lists "
            "under \"selectedDeviceName\" in a file and hand that over with --settings");
        return true;
    }
    if (!waitUntil([&] { return attributesAreThere(plugin); }, options_.wait)) {
        complainOfMissingAttributes(server);
        return false;
    }
    if (!hasConfiguredOutputs(plugin)) {
        complain(
            "the settings configure no outputs, so the plugin has no attributes; list some under \"configuredOutputs\" "
            "(\"velmora-host "
            "--help\" shows the format)");
    }
    return true;
}

void Commands::complainOfMissingAttributes(const std::string& server) const {
    const std::string within = " within " + secondsText(options_.wait);
    if (isServerAvailable(host_.plugin(), server)) {
        complain("the switch server " + inQuotes(server) +
                 " was found, but did not connect and tell the size of its matrix" + within +
                 "; check that it answers, or wait longer (--wait); --verbose shows the plugin's log lines");
        return;
    }
    const auto others = availableServers(host_.plugin());
    complain("the switch server " + inQuotes(server) + " was not found" + within +
             (others.empty() ? "; nor was any other" : "; found were: " + listed(others)) +
             "; check the name in the settings (\"selectedDeviceName\"), and that the server runs and is announced on "
             "a network interface "
             "that is looked at (--interface), or wait longer (--wait)");
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
