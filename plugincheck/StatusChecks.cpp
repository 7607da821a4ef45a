// Of the optional status protocol.
#include "platform/foundation/Text.h"
#include "plugincheck/Check.h"

namespace velmora {

namespace {

constexpr std::size_t kMaximumReasonBytes = 4096;

VelmoraNodePluginStatusProtocol& statusOf(Trial& trial) {
    if (trial.status() == nullptr) {
        notApplicable(stringWithFormat("the plugin does not offer the status protocol in version %li",
                                       kVelmoraNodePluginStatusProtocolVersion));
    }
    return *trial.status();
}

void requireReason(const std::string& reason, const char* operation) {
    require(isValidUTF8(reason) && stringByEscapingControlCharacters(reason) == reason &&
                reason.size() <= kMaximumReasonBytes,
            stringWithFormat("the reason in %@ is not one short line of text: %@", operation, quotedText(reason)));
}

void requireState(Trial& trial) {
    const auto status =
        trial.during("connectionStatus", kLookUpTime, [&] { return statusOf(trial).connectionStatus(); });
    require(status.state >= NodePluginConnectionState::noServerSelected &&
                status.state <= NodePluginConnectionState::failed,
            stringWithFormat("connectionStatus tells the state %i, which there is not",
                             static_cast<std::int32_t>(status.state)));
    require(isValidUTF8(status.serverName), "the server's name in connectionStatus is not UTF-8");
    requireReason(status.reason, "connectionStatus");
    require(status.since <= std::chrono::system_clock::now(), "connectionStatus tells a state that begins later");
}

NodePluginOutcome outcomeOf(Trial& trial) {
    auto outcome = trial.during("lastOutcome", kLookUpTime, [&] { return statusOf(trial).lastOutcome(); });
    require(outcome.answer >= NodePluginAnswer::none && outcome.answer <= NodePluginAnswer::refused,
            stringWithFormat("lastOutcome tells the answer %i, which there is not",
                             static_cast<std::int32_t>(outcome.answer)));
    requireReason(outcome.reason, "lastOutcome");
    return outcome;
}

void requireOutcomeOf(Trial& trial, const std::string& name) {
    const auto outcome = outcomeOf(trial);
    require(outcome.attributeName == name, stringWithFormat("lastOutcome tells of %@ after %@ was read or set",
                                                            quotedText(outcome.attributeName), quotedText(name)));
    require(outcome.answer != NodePluginAnswer::none, "lastOutcome tells of no answer after a value was read or set");
    require(name != kUnknownName || outcome.answer != NodePluginAnswer::answered,
            "lastOutcome tells that an attribute that does not exist was answered for");
}

// Until the observer was told, or released the plugin.
void provokeStatus(Trial& trial) {
    const auto isTold = [&] { return !trial.hasPlugin() || trial.listener().status.count > 0; };
    trial.startOrEnd();
    trial.setGivenSettings();
    trial.serveUntil(isTold, trial.options().wait);
    if (isTold()) return;
    trial.stop();
    trial.serveUntil(isTold, trial.options().wait);
}

}  // namespace

void checkStatus(Trial& trial) {
    statusOf(trial);
    require(outcomeOf(trial).answer == NodePluginAnswer::none,
            "lastOutcome tells of an answer before anything was read or set");
    requireState(trial);
    trial.start();
    requireState(trial);
    trial.waitForDevice();
    requireState(trial);
    auto names = trial.names();
    names.resize(std::min<std::size_t>(names.size(), 1));
    names.emplace_back(kUnknownName);
    for (const std::string& name : names) {
        trial.currentValue(name);
        requireOutcomeOf(trial, name);
    }
    trial.setValue("no such value", kUnknownName);
    requireOutcomeOf(trial, kUnknownName);
    trial.stop();
    requireState(trial);
}

void checkStatusObserver(Trial& trial) {
    statusOf(trial);
    trial.setObserver(&trial.listener());
    // An event loop in the observer: it must not be called inside itself.
    trial.listener().onStatus = [&] {
        trial.setGivenSettings();
        trial.serveShortly();
    };
    provokeStatus(trial);
    trial.useEverything();
    trial.serveShortly();
    const auto& notices = trial.listener().status;
    trial.requireNoticesOnMainThread();
    require(!notices.insideOperation, "the observer was called inside an operation of the plugin");
    require(!notices.insideItself, "the observer was called inside itself");
    trial.listener().onStatus = nullptr;
    trial.setObserver(nullptr);
    const int told = notices.count;
    trial.stop();
    trial.start();
    trial.serveShortly();
    require(notices.count == told, "the observer was called after it was cleared");
    if (told == 0) notApplicable("the plugin told of no change of its status; --settings or --wait may help");
    require(notices.pluginName == trial.name(), "the observer was told another name than the plugin's");
}

void checkStatusObserverReleases(Trial& trial) {
    statusOf(trial);
    trial.setObserver(&trial.listener());
    trial.listener().onStatus = [&] { trial.release(); };
    provokeStatus(trial);
    if (trial.hasPlugin()) {
        notApplicable("the plugin told of no change of its status; --settings or --wait may help");
    }
    trial.serveShortly();
}

}  // namespace velmora
