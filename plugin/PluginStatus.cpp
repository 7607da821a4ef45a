#include "plugin/PluginStatus.h"

#include <utility>

#include "discovery/VelmoraSwitchController.h"
#include "platform/threads/MainThread.h"

namespace velmora {

namespace {

using State = NodePluginConnectionState;

bool isSame(const NodePluginConnectionStatus& left, const NodePluginConnectionStatus& right) {
    return left.state == right.state && left.serverName == right.serverName && left.reason == right.reason &&
           left.since == right.since;
}

// By the server's record, for want of a connection.
NodePluginConnectionStatus statusOfServer(const VelmoraSwitchController& controller, const std::string& name) {
    const std::int32_t index = controller.indexOfServerForName(name);
    if (index < 0) return {State::notFound, name, "", {}};
    const ServerInfo& server = *controller.serversArray()[static_cast<std::size_t>(index)];
    if (!server.isPresent()) return {State::notFound, name, "", {}};
    if (server.resolution() == ServerInfo::Resolution::failed) {
        return {State::failed, name, "No address of the server was found", {}};
    }
    return {State::connecting, name, "", {}};
}

NodePluginAnswer answerFor(CommandAnswer answer) {
    switch (answer) {
        case CommandAnswer::answered:
            return NodePluginAnswer::answered;
        case CommandAnswer::unusableReply:
            return NodePluginAnswer::unusableReply;
        case CommandAnswer::connectionEnded:
            return NodePluginAnswer::connectionEnded;
        case CommandAnswer::noAnswerInTime:
            return NodePluginAnswer::noAnswerInTime;
        case CommandAnswer::refused:
            return NodePluginAnswer::refused;
        case CommandAnswer::noConnection:
            break;
    }
    return NodePluginAnswer::noConnection;
}

// Why nothing could be asked.
std::string reasonForNoConnection(const NodePluginConnectionStatus& status) {
    if (!status.reason.empty()) return status.reason;
    if (status.state == State::notFound) return "The server has not been found";
    return "The server is not connected yet";
}

}  // namespace

NodePluginConnectionStatus connectionStatusOf(const VelmoraSwitchController* controller, const std::string& name) {
    if (controller == nullptr) return {State::noServerSelected, "", "The plugin is not started", {}};
    const auto switcher = controller->selectedMatrixSwitcher();
    std::string server = switcher != nullptr ? switcher->name().value_or("") : name;
    if (server.empty()) return {State::noServerSelected, "", "The settings name no server", {}};
    const auto connection = switcher != nullptr ? switcher->connectionStatus() : SwitcherConnection{};
    switch (connection.state) {
        case SwitcherConnection::State::none:
            break;
        case SwitcherConnection::State::connecting:
            return {State::connecting, std::move(server), connection.reason, {}};
        case SwitcherConnection::State::connected:
            return {State::connected, std::move(server), connection.reason, {}};
        case SwitcherConnection::State::ended:
            return {State::ended, std::move(server), connection.reason, connection.end};
        case SwitcherConnection::State::failed: {
            auto byRecord = statusOfServer(*controller, server);
            if (!connection.wasMade && byRecord.state == State::notFound) return byRecord;
            return {State::failed, std::move(server), connection.reason, connection.end};
        }
    }
    return statusOfServer(*controller, server);
}

PluginStatus::PluginStatus(NSObject& owner, std::string pluginName, std::function<NodePluginConnectionStatus()> source)
    : owner_(owner), pluginName_(std::move(pluginName)), source_(std::move(source)) {
    connection_.since = std::chrono::system_clock::now();
    connection_.reason = "The plugin is not started";
}

NodePluginConnectionStatus PluginStatus::connection() const {
    auto now = source_();
    if (now.since != std::chrono::system_clock::time_point{}) return now;
    const bool same = now.state == connection_.state && now.serverName == connection_.serverName;
    now.since = same ? connection_.since : std::chrono::system_clock::now();
    return now;
}

NodePluginOutcome PluginStatus::outcome() const {
    auto outcome = outcome_;
    if (exchange_ == nullptr) return outcome;
    outcome.answer = answerFor(exchange_->answer);
    outcome.reason = exchange_->reason;
    return outcome;
}

void PluginStatus::setObserver(VelmoraNodePluginStatusProtocol_Observer* observer) {
    connection_ = connection();
    toldConnection_ = connection_;
    if (exchange_ != nullptr) toldAnswer_ = exchange_->answer;
    observer_ = observer;
}

PluginStatus::Operation::Operation(PluginStatus& status)
    : keepAlive_(status.owner_.shared_from_this()), status_(status) {
    ++status_.operations_;
}

PluginStatus::Operation::~Operation() {
    --status_.operations_;
    status_.refresh();
}

void PluginStatus::noteRefusal(const std::string& attributeName, const std::string& reason) {
    note(attributeName, NodePluginAnswer::refused, reason);
}

void PluginStatus::noteNoConnection(const std::string& attributeName) {
    note(attributeName, NodePluginAnswer::noConnection, reasonForNoConnection(connection()));
}

void PluginStatus::noteExchange(const std::string& attributeName, std::shared_ptr<const CommandOutcome> outcome) {
    if (outcome == nullptr || (outcome->answer == CommandAnswer::noConnection && outcome->reason.empty())) {
        noteNoConnection(attributeName);
        return;
    }
    note(attributeName, NodePluginAnswer::none, "");
    toldAnswer_ = outcome->answer;
    exchange_ = std::move(outcome);
}

void PluginStatus::note(const std::string& attributeName, NodePluginAnswer answer, std::string reason) {
    outcome_ = {answer, attributeName, std::move(reason), std::chrono::system_clock::now()};
    exchange_ = nullptr;
}

void PluginStatus::refresh() {
    connection_ = connection();
    if (observer_ == nullptr || operations_ > 0 || telling_ || !isNews()) return;
    telling_ = true;
    MainThread::performLater([this, owner = owner_.weak_from_this()] {
        const auto keepAlive = owner.lock();
        if (keepAlive != nullptr) tell();
    });
}

bool PluginStatus::isNews() const {
    return !isSame(connection_, toldConnection_) || (exchange_ != nullptr && exchange_->answer != toldAnswer_);
}

void PluginStatus::tell() {
    telling_ = false;
    if (operations_ > 0) return;  // an event loop inside an operation; its end looks again
    connection_ = connection();
    if (observer_ == nullptr || !isNews()) return;
    // A change that comes while the host is being told is told afterwards.
    const Operation operation(*this);
    toldConnection_ = connection_;
    if (exchange_ != nullptr) toldAnswer_ = exchange_->answer;
    observer_->statusChangedForPluginName(pluginName_);
}

}  // namespace velmora
