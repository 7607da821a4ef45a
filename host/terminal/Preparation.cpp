#include "host/terminal/Preparation.h"

#include <QString>

#include "host/Console.h"
#include "host/PluginState.h"
#include "host/Quotes.h"
#include "host/SettingsCheck.h"
#include "host/Waiting.h"
#include "platform/foundation/Joined.h"
#include "platform/threads/Moment.h"

namespace velmora {

std::string secondsText(std::chrono::milliseconds time) {
    return QString::number(Seconds(time).count()).toStdString() + " s";
}

bool Preparation::start() {
    if (options_.defaults) complain(std::string("starting with defaults: ") + kWhatDefaultsDo);
    if (host_.start(options_.defaults)) return true;
    context_.report.complain("the plugin did not start; --verbose shows its log lines");
    return false;
}

ExitCode Preparation::waitForAttributes() {
    if (!start()) return ExitCode::refused;
    VelmoraNodePluginProtocol& plugin = host_.plugin();
    if (selectedServer(plugin) == "") {
        context_.report.complain(
            "the settings name no switch server, so the plugin has no attributes; \"velmora-host servers\" lists the "
            "servers: put the name of one under \"selectedDeviceName\" in a file, and give that with --settings");
        return ExitCode::done;
    }
    const Date end = fromNow(options_.wait);
    if (!waitUntil([&] { return attributesAreThere(host_) || connectionIsLost(host_); }, options_.wait)) {
        complainOfMissingAttributes();
        // Of a plugin that tells nothing of its device, nothing more can be expected.
        const bool isAll = !selectedServer(plugin) && !host_.connectionStatus() && !plugin.attributeNames()->empty();
        return isAll ? ExitCode::done : ExitCode::timedOut;
    }
    ranOutOfTime_ = connectionIsLost(host_) && Date::clock::now() >= end;
    if (selectedServer(plugin) && !hasConfiguredOutputs(plugin)) {
        context_.report.complain(
            "the settings configure no outputs, so the plugin has no attributes; list some under \"configuredOutputs\" "
            "(\"velmora-host help settings\" shows the format)");
    }
    warnOfDefaultsBeyondMatrix();
    return ExitCode::done;
}

void Preparation::complainOfMissingAttributes() const {
    const std::string within = " within " + secondsText(options_.wait);
    const auto status = host_.connectionStatus();
    const std::string reason = status && !status->reason.empty() ? " (" + status->reason + ')' : "";
    const auto server = selectedServer(host_.plugin());
    if (!server) {
        context_.report.complain("the plugin's attributes are not complete" + within + reason +
                                 "; wait longer (--wait); --verbose shows the plugin's log lines");
        return;
    }
    if (isServerAvailable(host_.plugin(), *server)) {
        context_.report.complain(
            "the switch server " + inQuotes(*server) +
            " was found, but did not connect and tell the size of its matrix" + within + reason +
            "; check that it answers, or wait longer (--wait); --verbose shows the plugin's log lines");
        return;
    }
    const auto others = availableServers(host_.plugin());
    context_.report.complain(
        "the switch server " + inQuotes(*server) + " was not found" + within +
        (others.empty() ? "; nor was any other" : "; found were: " + joined(others, inQuotes)) +
        "; check the name in the settings (\"selectedDeviceName\"), and that the server runs and is announced on "
        "a network interface that is searched (--interface), or wait longer (--wait)");
}

void Preparation::warnOfDefaultsBeyondMatrix() {
    const auto inputs = numberOfInputs(host_.plugin());
    if (!inputs || inputs == inputs_) return;
    inputs_ = inputs;
    // A plugin without such settings makes nothing of those in the file.
    const DictionaryReference settings = hasConfiguredOutputs(host_.plugin()) ? context_.settings : makeDictionary();
    for (const std::string& doubt : doubtsAboutDefaults(settings, *inputs)) {
        complain(doubt);
    }
}

}  // namespace velmora
