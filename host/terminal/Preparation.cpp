#include "host/terminal/Preparation.h"

#include <QString>
#include <algorithm>

#include "host/Console.h"
#include "host/PluginState.h"
#include "host/Quotes.h"
#include "host/SettingsCheck.h"
#include "host/Waiting.h"
#include "host/terminal/Deadline.h"
#include "platform/threads/Moment.h"

namespace velmora {

namespace {

// What is asked by a line of the wire protocol.
std::string questionOf(const std::string& line) {
    const std::string number = line.substr(std::min(line.find(' '), line.size()));
    if (line.starts_with("GET ")) return "which input is on output" + number;
    if (line.starts_with("INPUTLABEL ")) return "for the label of input" + number;
    if (line == "MATRIXSIZE") return "for the size of its matrix";
    return line == "REFRESH" ? "whether it is there" : "";
}

// A plugin's reason in a technician's words when it is that of a server that does not answer; "" otherwise.
std::string silenceIn(const std::string& reason) {
    constexpr std::string_view kBeginning = "The server did not answer \"";
    const std::size_t end = reason.find('"', kBeginning.size());
    if (!reason.starts_with(kBeginning) || end == std::string::npos) return "";
    const std::string line = reason.substr(kBeginning.size(), end - kBeginning.size());
    const std::string question = questionOf(line);
    if (question.empty()) return "";
    return "when it was asked " + question + " (" + inQuotes(line) + "), it did not answer" + reason.substr(end + 1);
}

}  // namespace

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
        return context_.report.fail(
            ExitCode::unusable,
            "the settings name no switch server, so the plugin has no attributes; \"velmora-host servers\" lists the "
            "servers, \"velmora-host configure --server NAME FILE\" puts one into a settings file, and --settings FILE "
            "gives it");
    }
    const Date end = fromNow(options_.wait);
    const Deadline delay(options_.wait + kGrace, [text = delayText()] { complain(text); });
    if (!waitUntil([&] { return attributesAreThere(host_) || connectionIsLost(host_); }, options_.wait)) {
        complainOfMissingAttributes();
        // Of a plugin that tells nothing of its device, nothing more can be expected.
        const bool isAll = !selectedServer(plugin) && !host_.connectionStatus() && !plugin.attributeNames()->empty();
        return isAll ? ExitCode::done : ExitCode::timedOut;
    }
    ranOutOfTime_ = connectionIsLost(host_) && Date::clock::now() >= end;
    if (selectedServer(plugin) && !hasConfiguredOutputs(plugin)) {
        return context_.report.fail(
            ExitCode::unusable,
            "the settings configure no outputs, so the plugin has no attributes; \"velmora-host configure --outputs "
            "1-8 FILE\" adds some to a settings file");
    }
    warnOfDefaultsBeyondMatrix();
    return ExitCode::done;
}

std::string Preparation::delayText() const {
    const std::string after = " after " + secondsText(options_.wait) + " (--wait)";
    if (!selectedServer(host_.plugin())) return "the plugin is still at work" + after + "; Ctrl-C ends the program";
    return "the plugin is still busy with the switch server" + after +
           ": it waits ten seconds for each answer, and asks for every input's label once for each output; Ctrl-C ends "
           "the program";
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
    if (const std::string silence = status ? silenceIn(status->reason) : ""; !silence.empty()) {
        context_.report.complain("the switch server " + inQuotes(*server) + " was found, but " + silence +
                                 ", and the connection was given up; look at the server itself");
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
        (others.empty() ? "; nor was any other" : "; found were: " + firstInQuotes(others)) +
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
