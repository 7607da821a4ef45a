#include "host/terminal/Status.h"

#include <unistd.h>

#include <string>

#include "host/Console.h"
#include "host/PluginState.h"
#include "host/Quotes.h"
#include "host/Waiting.h"
#include "host/terminal/Deadline.h"
#include "host/terminal/Json.h"
#include "host/terminal/Preparation.h"

namespace velmora {

namespace {

using State = NodePluginConnectionState;

constexpr const char* kSilent = "It was found, but did not answer within ";

struct Standing {
    const char* word;
    ExitCode code;
    std::string reason;
};

bool isDecided(const PluginHost& host) {
    const auto status = host.connectionStatus();
    if (!status) return attributesAreThere(host);
    return status->state != State::notFound && status->state != State::connecting;
}

Standing standingOf(const PluginHost& host, const std::string& server, std::chrono::milliseconds wait) {
    const auto status = host.connectionStatus();
    const bool isConnected = status ? status->state == State::connected : attributesAreThere(host);
    if (isConnected) return {"connected", ExitCode::done, ""};
    const std::string within = " within " + secondsText(wait);
    const bool isThere = isServerAvailable(host.plugin(), server) || (status && status->state != State::notFound);
    if (!isThere) return {"absent", ExitCode::timedOut, "It was not found" + within};
    const bool isExplained = status && !status->reason.empty();
    return {
        "lost", ExitCode::refused,
        isExplained ? status->reason : "It was found, but did not connect and tell the size of its matrix" + within};
}

void print(const Context& context, const std::string& server, const Standing& standing) {
    if (context.report.isJson()) {
        printJson({{"state", standing.word}, {"server", jsonValue(server)}, {"reason", jsonValue(standing.reason)}},
                  QJsonDocument::Compact);
        return;
    }
    printLine(standing.word + (' ' + inQuotes(server)) + (standing.reason.empty() ? "" : ": " + standing.reason));
}

}  // namespace

ExitCode printStatus(const Context& context) {
    if (!Preparation(context).start()) return ExitCode::refused;
    const auto named = selectedServer(context.plugin());
    if (named == "") return context.report.fail(ExitCode::unusable, "the settings name no switch server");
    const std::chrono::milliseconds wait = context.options.wait;
    {
        // The main thread may be blocked in the plugin by a device that does not answer.
        const Deadline deadline(wait + kGrace, [&] {
            print(context, named.value_or(""), {"lost", ExitCode::refused, kSilent + secondsText(wait)});
            _exit(static_cast<int>(withOutput(ExitCode::refused)));
        });
        waitUntil([&] { return isDecided(context.host); }, wait);
    }
    const auto status = context.host.connectionStatus();
    const std::string server = named.value_or(status ? status->serverName : "");
    const Standing standing = standingOf(context.host, server, wait);
    print(context, server, standing);
    context.report.noteDocument();
    return standing.code;
}

}  // namespace velmora
