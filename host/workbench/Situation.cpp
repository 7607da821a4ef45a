#include "host/workbench/Situation.h"

#include <QDateTime>
#include <QStringList>
#include <algorithm>

#include "host/PluginState.h"
#include "platform/widgets/DisplayText.h"

namespace velmora {

namespace {

constexpr std::size_t kNamedServers = 4;

QString foundServers(VelmoraNodePluginProtocol& plugin) {
    if (!knowsServers(plugin)) return {};
    const auto names = availableServers(plugin);
    if (names.empty()) return " No switch server has been found.";
    QStringList shown;
    for (std::size_t i = 0; i < std::min(names.size(), kNamedServers); ++i) {
        shown << quotedName(names[i]);
    }
    QString text = " Found: " + shown.join(", ");
    if (names.size() > kNamedServers) text += QString(" and %1 more").arg(names.size() - kNamedServers);
    return text + ".";
}

QString counted(std::size_t count, const char* what) {
    return QString("%1 %2%3").arg(count).arg(what, count == 1 ? "" : "s");
}

QString attributesText(VelmoraNodePluginProtocol& plugin) {
    const StringList names = plugin.attributeNames();
    if (names->empty() && selectedServer(plugin) && !hasConfiguredOutputs(plugin))
        return "no outputs are configured, so there are no attributes";
    QString text = counted(names->size(), "attribute");
    const auto inputs = numberOfInputs(plugin);
    if (inputs && selectedServer(plugin)) text += ", " + counted(*inputs, "input");
    return text;
}

QString lossText(VelmoraNodePluginProtocol& plugin, const QString& server, const NodePluginConnectionStatus& status) {
    const bool isFailure = status.state == NodePluginConnectionState::failed;
    const auto since = std::chrono::duration_cast<std::chrono::milliseconds>(status.since.time_since_epoch());
    const char* const hope =
        knowsServers(plugin)
            ? "The plugin connects again when the server announces itself anew; Reconnect tries at once."
            : "Reconnect hands the plugin its settings once more.";
    return "The connection to " + server + (isFailure ? " failed at " : " ended at ") +
           QDateTime::fromMSecsSinceEpoch(since.count()).toString("HH:mm:ss") +
           (status.reason.empty() ? QString() : ": " + displayText(status.reason)) + ". " + hope;
}

Situation toldSituation(VelmoraNodePluginProtocol& plugin, const NodePluginConnectionStatus& status) {
    const QString server = status.serverName.empty() ? "the device" : quotedName(status.serverName);
    switch (status.state) {
        case NodePluginConnectionState::noServerSelected:
            if (!knowsServers(plugin)) return {Lamp::off, "NO DEVICE", "The plugin has no device to connect to."};
            return {Lamp::off, "NO SERVER", "The settings name no switch server." + foundServers(plugin)};
        case NodePluginConnectionState::notFound:
            return {Lamp::waiting, "SEARCHING",
                    (knowsServers(plugin) ? "Looking for the switch server " : "Looking for ") + server + "." +
                        foundServers(plugin)};
        case NodePluginConnectionState::connecting:
            return {Lamp::waiting, "CONNECTING",
                    "Connecting to " + server + ". The window may stand still while the plugin reads its labels."};
        case NodePluginConnectionState::connected:
            return {Lamp::good, "CONNECTED", "Connected to " + server + ": " + attributesText(plugin) + "."};
        case NodePluginConnectionState::ended:
        case NodePluginConnectionState::failed:
            break;
    }
    return {Lamp::bad, "LOST", lossText(plugin, server, status)};
}

}  // namespace

Situation situationOf(const PluginHost& host) {
    if (!host.isStarted()) return {Lamp::off, "STOPPED", "The plugin is stopped."};
    const auto status = host.connectionStatus();
    if (status) return toldSituation(host.plugin(), *status);
    return {Lamp::off, "NOT KNOWN",
            "The plugin is started: " + attributesText(host.plugin()) + ". It does not tell of its connection." +
                foundServers(host.plugin())};
}

}  // namespace velmora
