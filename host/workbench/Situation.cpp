#include "host/workbench/Situation.h"

#include <QStringList>
#include <algorithm>

#include "host/PluginState.h"
#include "platform/widgets/DisplayText.h"

namespace velmora {

namespace {

constexpr std::size_t kNamedServers = 4;

QString foundServers(VelmoraNodePluginProtocol& plugin) {
    const auto names = availableServers(plugin);
    if (names.empty()) return "No switch server has been found.";
    QStringList shown;
    for (std::size_t i = 0; i < std::min(names.size(), kNamedServers); ++i) {
        shown << quotedName(names[i]);
    }
    QString text = "Found: " + shown.join(", ");
    if (names.size() > kNamedServers) text += QString(" and %1 more").arg(names.size() - kNamedServers);
    return text + ".";
}

QString counted(std::size_t count, const char* what) {
    return QString("%1 %2%3").arg(count).arg(what, count == 1 ? "" : "s");
}

}  // namespace

Situation situationOf(VelmoraNodePluginProtocol& plugin, const ConnectionSigns& signs) {
    using Kind = Situation::Kind;
    if (!signs.isStarted) return {Kind::stopped, "The plugin is stopped."};
    const std::string name = selectedServer(plugin);
    const QString server = name.empty() ? "the server found first" : quotedName(name);
    if (signs.end || (signs.hasBuiltAttributes && noValueHasLabel(plugin))) {
        const QString reason = displayText(signs.end.value_or(""));
        return {Kind::lost, "The connection to " + server + (reason.isEmpty() ? " is lost" : " failed: " + reason) +
                                ". The plugin connects again when the server announces itself anew; "
                                "Reconnect tries at once."};
    }
    if (signs.hasBuiltAttributes && attributesAreComplete(plugin)) {
        const StringList names = plugin.attributeNames();
        return {Kind::connected, "Connected to " + server + ": " + counted(names->size(), "attribute") + ", " +
                                     counted(possibleValues(plugin, names->front())->size(), "input") + "."};
    }
    if (name.empty()) return {Kind::unnamed, "The settings name no switch server. " + foundServers(plugin)};
    if (!isServerAvailable(plugin, name))
        return {Kind::absent, "Looking for the switch server " + server + ". " + foundServers(plugin)};
    if (!hasConfiguredOutputs(plugin)) {
        return {Kind::unconfigured,
                "The switch server " + server + " was found. No outputs are configured, so there are no attributes."};
    }
    return {Kind::connecting, "The switch server " + server +
                                  " was found; waiting for its matrix. The window may stand still for ten seconds."};
}

}  // namespace velmora
