#include "host/terminal/Commands.h"

#include <QTimer>

#include "host/Console.h"
#include "host/PluginState.h"
#include "host/Quotes.h"
#include "host/Waiting.h"
#include "host/terminal/Json.h"
#include "host/terminal/Preparation.h"
#include "host/terminal/ReadCommands.h"
#include "host/terminal/SetCommands.h"
#include "host/terminal/Status.h"
#include "host/terminal/Watch.h"
#include "platform/foundation/PropertyListXML.h"

namespace velmora {

namespace {

// A list of servers that has not changed for this time is taken as whole.
constexpr std::chrono::milliseconds kQuietTime{1500};

ExitCode servers(const Context& context) {
    const Options& options = context.options;
    if (!Preparation(context).start()) return ExitCode::refused;
    VelmoraNodePluginProtocol& plugin = context.plugin();
    if (!knowsServers(plugin))
        return context.report.fail(ExitCode::refused, "the plugin does not tell of switch servers");
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
    ExitCode code = ExitCode::done;
    if (!found()) {
        code = context.report.fail(
            ExitCode::timedOut,
            (selected.empty() ? "no switch server was found"
                              : "the selected switch server " + inQuotes(selected) + " was not found") +
                " within " + secondsText(options.wait) +
                "; check that it runs and is announced on a network interface that is searched (--interface), or wait "
                "longer (--wait)");
    }
    if (options.json) {
        const auto name = selected.empty() ? std::nullopt : std::optional(selected);
        return context.report.print({{"servers", jsonValue(names)}, {"selected", jsonValue(name)}}, code);
    }
    for (const std::string& name : names) {
        printLine((name == selected ? "* " : "  ") + name);
    }
    return code;
}

ExitCode settings(const Context& context) {
    const PropertyList settings(context.plugin().defaultSettings());
    // What cannot be written as a property list, such as settings that contain themselves, cannot be shown as JSON.
    const auto document = XMLWithPropertyList(settings);
    if (!document) {
        return context.report.fail(ExitCode::refused,
                                   "the plugin's settings cannot be shown: " + document.failure().reason);
    }
    if (context.options.json) {
        printJson(jsonOfPropertyList(settings).toObject());
    } else {
        printText(*document);
    }
    return ExitCode::done;
}

ExitCode run(const Context& context) {
    switch (context.options.command) {
        case CommandName::servers:
            return servers(context);
        case CommandName::status:
            return printStatus(context);
        case CommandName::attributes:
            return ReadCommands(context).attributes();
        case CommandName::possible:
            return ReadCommands(context).possible(context.options.arguments.front());
        case CommandName::get:
            return ReadCommands(context).get();
        case CommandName::set:
            return SetCommands(context).set();
        case CommandName::apply:
            return SetCommands(context).apply();
        case CommandName::dump:
            return ReadCommands(context).dump();
        case CommandName::watch:
            return Watch(context).run();
        case CommandName::settings:
            return settings(context);
        case CommandName::workbench:  // has a window
        case CommandName::configure:  // these need no plugin
        case CommandName::checkSettings:
        case CommandName::checkServer:
        case CommandName::plugins:
        case CommandName::help:
            break;
    }
    return ExitCode::unusable;
}

}  // namespace

ExitCode runCommand(PluginHost& host, const Options& options, const DictionaryReference& settings) {
    Report report(options.json);
    return report.finish(run({host, options, settings, report}));
}

}  // namespace velmora
