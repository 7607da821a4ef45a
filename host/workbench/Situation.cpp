#include "host/workbench/Situation.h"

#include <QDateTime>
#include <QStringList>
#include <algorithm>

#include "host/PluginState.h"
#include "host/workbench/Words.h"
#include "platform/widgets/DisplayText.h"

namespace velmora {

namespace {

constexpr std::size_t kNamedServers = 4;

QString foundServers(VelmoraNodePluginProtocol& plugin) {
    if (!knowsServers(plugin)) return {};
    const auto names = availableServers(plugin);
    if (names.empty()) return ' ' + Words::tr("No switch server has been found.");
    QStringList shown;
    for (std::size_t i = 0; i < std::min(names.size(), kNamedServers); ++i) {
        shown << quotedName(names[i]);
    }
    if (names.size() <= kNamedServers) return ' ' + Words::tr("Found: %1.").arg(shown.join(", "));
    const int more = static_cast<int>(names.size() - kNamedServers);
    return ' ' + Words::tr("Found: %1 and %n more.", nullptr, more).arg(shown.join(", "));
}

QString attributesText(VelmoraNodePluginProtocol& plugin) {
    const StringList names = plugin.attributeNames();
    if (names->empty() && selectedServer(plugin) && !hasConfiguredOutputs(plugin))
        return Words::tr("no outputs are configured, so there are no attributes");
    const QString attributes = Words::tr("%n attributes", nullptr, static_cast<int>(names->size()));
    const auto inputs = numberOfInputs(plugin);
    if (!inputs || !selectedServer(plugin)) return attributes;
    return attributes + ", " + Words::tr("%n inputs", nullptr, static_cast<int>(*inputs));
}

QString lossText(VelmoraNodePluginProtocol& plugin, const QString& server, const NodePluginConnectionStatus& status) {
    const bool isFailure = status.state == NodePluginConnectionState::failed;
    const auto since = std::chrono::duration_cast<std::chrono::milliseconds>(status.since.time_since_epoch());
    const QString hope =
        knowsServers(plugin)
            ? Words::tr("The plugin connects again when the server announces itself anew; Reconnect tries at once.")
            : Words::tr("Reconnect hands the plugin its settings once more.");
    const QString what =
        isFailure ? Words::tr("The connection to %1 failed at %2") : Words::tr("The connection to %1 ended at %2");
    return what.arg(server, QDateTime::fromMSecsSinceEpoch(since.count()).toString("HH:mm:ss")) +
           (status.reason.empty() ? QString() : ": " + displayText(status.reason)) + ". " + hope;
}

Situation toldSituation(VelmoraNodePluginProtocol& plugin, const NodePluginConnectionStatus& status) {
    const QString server = status.serverName.empty() ? Words::tr("the device") : quotedName(status.serverName);
    switch (status.state) {
        case NodePluginConnectionState::noServerSelected:
            if (!knowsServers(plugin))
                return {Lamp::off, Words::tr("NO DEVICE"), Words::tr("The plugin has no device to connect to.")};
            return {Lamp::off, Words::tr("NO SERVER"),
                    Words::tr("The settings name no switch server.") + foundServers(plugin)};
        case NodePluginConnectionState::notFound:
            return {
                Lamp::waiting, Words::tr("SEARCHING"),
                (knowsServers(plugin) ? Words::tr("Looking for the switch server %1.") : Words::tr("Looking for %1."))
                        .arg(server) +
                    foundServers(plugin)};
        case NodePluginConnectionState::connecting:
            return {Lamp::waiting, Words::tr("CONNECTING"),
                    Words::tr("Connecting to %1. The window may stand still while the plugin reads its labels.")
                        .arg(server)};
        case NodePluginConnectionState::connected:
            return {Lamp::good, Words::tr("CONNECTED"),
                    Words::tr("Connected to %1: %2.").arg(server, attributesText(plugin))};
        case NodePluginConnectionState::ended:
        case NodePluginConnectionState::failed:
            break;
    }
    return {Lamp::bad, Words::tr("LOST"), lossText(plugin, server, status)};
}

}  // namespace

Situation situationOf(const PluginHost& host) {
    if (!host.isStarted()) return {Lamp::off, Words::tr("STOPPED"), Words::tr("The plugin is stopped.")};
    const auto status = host.connectionStatus();
    if (status) return toldSituation(host.plugin(), *status);
    return {
        Lamp::off, Words::tr("NOT KNOWN"),
        Words::tr("The plugin is started: %1. It does not tell of its connection.").arg(attributesText(host.plugin())) +
            foundServers(host.plugin())};
}

}  // namespace velmora
