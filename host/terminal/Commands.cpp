#include "host/terminal/Commands.h"

#include <QDateTime>
#include <QEventLoop>
#include <QTimer>

#include "host/Console.h"
#include "host/Patience.h"
#include "host/PluginState.h"
#include "host/Quotes.h"
#include "host/Waiting.h"
#include "host/terminal/AttributeCommands.h"
#include "host/terminal/Json.h"
#include "host/terminal/Preparation.h"
#include "platform/foundation/PropertyListXML.h"
#include "platform/threads/Interruption.h"

namespace velmora {

namespace {

// A list of servers that has not changed for this time is taken as whole.
constexpr std::chrono::milliseconds kQuietTime{1500};

void printServers(const std::vector<std::string>& names, const std::string& selected, bool asJson) {
    if (asJson) {
        const auto name = selected.empty() ? std::nullopt : std::optional(selected);
        printJson({{"servers", jsonValue(names)}, {"selected", jsonValue(name)}});
        return;
    }
    for (const std::string& name : names) {
        printLine((name == selected ? "* " : "  ") + name);
    }
}

ExitCode servers(PluginHost& host, const Options& options) {
    if (!Preparation(host, options).start()) return ExitCode::refused;
    VelmoraNodePluginProtocol& plugin = host.plugin();
    if (!knowsServers(plugin)) {
        complain("the plugin does not tell of switch servers");
        return ExitCode::refused;
    }
    const std::string selected = selectedServer(plugin).value_or("");
    std::vector<std::string> names;
    QTimer unchanged;
    unchanged.setSingleShot(true);
    unchanged.start(kQuietTime);
    const auto found = [&] { return selected.empty() ? !names.empty() : isServerAvailable(plugin, selected); };
    const auto isWhole = [&] {
        if (auto now = availableServers(plugin); now != names) {
            names = std::move(now);
            unchanged.start(kQuietTime);
        }
        return found() && !unchanged.isActive();
    };
    waitUntil(isWhole, options.wait);
    printServers(names, selected, options.json);
    if (found()) return ExitCode::done;
    complain((selected.empty() ? "no switch server was found"
                               : "the selected switch server " + inQuotes(selected) + " was not found") +
             " within " + secondsText(options.wait) +
             "; check that it runs and is announced on a network interface that is searched (--interface), or wait "
             "longer (--wait)");
    return ExitCode::timedOut;
}

ExitCode settings(const PluginHost& host, const Options& options) {
    const PropertyList settings(host.plugin().defaultSettings());
    // What cannot be written as a property list, such as settings that contain themselves, cannot be shown as JSON.
    const auto document = XMLWithPropertyList(settings);
    if (!document) {
        complain("the plugin's settings cannot be shown: " + document.failure().reason);
        return ExitCode::refused;
    }
    if (options.json) {
        printJson(jsonOfPropertyList(settings).toObject());
    } else {
        printText(*document);
    }
    return ExitCode::done;
}

void printChangeNotice(const VelmoraNodePluginProtocol& plugin, bool asJson) {
    const std::string time = QDateTime::currentDateTime().toString(Qt::ISODateWithMs).toStdString();
    const StringList names = plugin.attributeNames();
    if (asJson) {
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

// Prints a line each time the plugin says that its attributes have changed, and keeps changed settings, until
// interrupted.
ExitCode watch(PluginHost& host, const Options& options) {
    QEventLoop loop;
    const Interruption interruption([&] { loop.quit(); });
    const Patience patience(interruption);
    Preparation preparation(host, options);
    // After a notice, not inside it.
    QTimer afterNotice;
    afterNotice.setSingleShot(true);
    QObject::connect(&afterNotice, &QTimer::timeout, &loop, [&] {
        if (const auto saved = host.saveSettings(); !saved) complain(saved.failure().reason);
        if (attributesAreComplete(host.plugin())) preparation.warnOfDefaultsBeyondMatrix();
        if (!outputIsGood()) loop.quit();
    });
    host.setAttributesObserver([&] {
        printChangeNotice(host.plugin(), options.json);
        afterNotice.start(0);
    });
    const bool isStarted = preparation.start();
    if (isStarted) loop.exec();
    host.setAttributesObserver(nullptr);
    return isStarted ? ExitCode::done : ExitCode::refused;
}

}  // namespace

ExitCode runCommand(PluginHost& host, const Options& options) {
    switch (options.command) {
        case CommandName::servers:
            return servers(host, options);
        case CommandName::attributes:
            return AttributeCommands(host, options).attributes();
        case CommandName::possible:
            return AttributeCommands(host, options).possible(options.arguments[0]);
        case CommandName::get:
            return AttributeCommands(host, options).get(options.arguments[0]);
        case CommandName::set:
            return AttributeCommands(host, options).set(options.arguments[0], options.arguments[1]);
        case CommandName::settings:
            return settings(host, options);
        case CommandName::watch:
            return watch(host, options);
        case CommandName::workbench:  // has a window
        case CommandName::help:       // needs no plugin
            break;
    }
    return ExitCode::unusable;
}

}  // namespace velmora
