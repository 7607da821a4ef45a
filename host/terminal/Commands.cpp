#include "host/terminal/Commands.h"

#include <QTimer>

#include "host/Console.h"
#include "host/PluginState.h"
#include "host/Quotes.h"
#include "host/Waiting.h"
#include "host/terminal/AttributeCommands.h"
#include "host/terminal/Json.h"
#include "host/terminal/Preparation.h"
#include "host/terminal/Watch.h"
#include "platform/foundation/PropertyListXML.h"

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
        case CommandName::workbench:
            break;  // has a window
    }
    return ExitCode::unusable;
}

}  // namespace velmora
