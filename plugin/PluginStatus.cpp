#include "plugin/PluginStatus.h"

#include <iterator>
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
    const auto server = index >= 0 ? controller.serversArray()[static_cast<std::size_t>(index)] : nullptr;
    if (server == nullptr || !server->isPresent()) return {State::notFound, name, "", {}};
    if (server->resolution() == ServerInfo::Resolution::failed) {
        return {State::failed, name, "No address of the server was found", {}};
    }
    return {State::connecting, name, "", {}};
}

// In the order of CommandAnswer.
constexpr NodePluginAnswer kAnswers[] = {
    NodePluginAnswer::answered,       NodePluginAnswer::unusableReply, NodePluginAnswer::connectionEnded,
    NodePluginAnswer::noAnswerInTime, NodePluginAnswer::noConnection,  NodePluginAnswer::refused,
};
static_assert(std::size(kAnswers) == static_cast<std::size_t>(CommandAnswer::refused) + 1);
// In the order of SwitcherConnection::State, but for none, where the server's record tells.
constexpr State kStates[] = {State::notFound, State::connecting, State::connected, State::ended, State::failed};
static_assert(std::size(kStates) == static_cast<std::size_t>(SwitcherConnection::State::failed) + 1);

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
    const std::string server = switcher != nullptr ? switcher->name().value_or("") : name;
    if (server.empty()) return {State::noServerSelected, "", "The settings name no server", {}};
    const auto connection = switcher != nullptr ? switcher->connectionStatus() : SwitcherConnection{};
    const bool wasNeverMade = connection.state == SwitcherConnection::State::failed && !connection.wasMade;
    if (connection.state == SwitcherConnection::State::none || wasNeverMade) {
        auto byRecord = statusOfServer(*controller, server);
        if (!wasNeverMade || byRecord.state == State::notFound) return byRecord;
    }
    return {kStates[static_cast<std::size_t>(connection.state)], server, connection.reason, connection.end};
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
    outcome.answer = kAnswers[static_cast<std::size_t>(exchange_->answer)];
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
