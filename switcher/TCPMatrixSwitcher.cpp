#include "switcher/TCPMatrixSwitcher.h"

#include <utility>

#include "discovery/ServerInfo.h"
#include "platform/foundation/Text.h"
#include "switcher/Numbering.h"

namespace velmora {

namespace {

// This long after a reply without a line end, the connection's end says that the reply was cut.
constexpr Seconds kCutReplyTime{1};

bool hasLineEnd(const SwitchTelnetCommand& command) {
    const ResponseData data = command.responseData();
    return data->ends_with('\n') || data->ends_with('\r');
}

bool isMatrixSize(std::int32_t number) {
    return number >= 0 && number <= kMatrixSizeLimit;
}

}  // namespace

TCPMatrixSwitcher::TCPMatrixSwitcher(TelnetTimeLimits limits)
    : telnetController_(std::make_shared<SwitchTelnetController>(limits)) {
    telnetController_->setDelegate(this);
}

TCPMatrixSwitcher::~TCPMatrixSwitcher() {
    // The owner has closed the port by now. If not, neither the connection nor a callback of it may outlive the
    // switcher.
    telnetController_->setDelegate(nullptr);
    telnetController_->closeStreams();
}

void TCPMatrixSwitcher::setDelegate(MatrixSwitcherDelegate* delegate) {
    registry_ = dynamic_cast<TCPMatrixSwitcherDelegate*>(delegate);
    MatrixSwitcher::setDelegate(delegate);
}

bool TCPMatrixSwitcher::openPort(const std::string& name) {
    const std::int32_t index = registry_ != nullptr ? registry_->indexOfServerForName(name) : -1;
    _portName = name;
    if (_currentServer != nullptr) _currentServer->unRegisterClient(shared_from_this());
    const auto server = index >= 0 ? registry_->serversArray()[static_cast<std::size_t>(index)] : nullptr;
    if (telnetController_->isConnected()) {
        telnetController_->closeStreams();
        _status = statusClosed;
    }
    if (server == nullptr || server->netService() == nullptr) return _isOpen;
    sizeProblem_.clear();
    repliesEndLines_ = false;
    telnetController_->startConnectionWithNetService(server->netService());
    _status = statusRequested;
    setCurrentServer(server);
    server->registerClient(shared_from_this());
    _isOpen = true;
    return true;
}

void TCPMatrixSwitcher::closePort() {
    settleOutcome();
    telnetController_->closeStreams();
    setCurrentServer(nullptr);
    _status = statusClosed;
}

void TCPMatrixSwitcher::nodeConnectionDidOpen(SwitchTelnetController&) {
    const auto keepAlive = shared_from_this();  // the delegate may let go of the switcher
    const NSSize size = getMatrixDimensions();
    if (size.width <= 0.0 || size.height <= 0.0) {
        if (sizeProblem_.empty()) {
            sizeProblem_ = stringWithFormat("The server's matrix has %li inputs and %li outputs", _numberOfInputs,
                                            _numberOfOutputs);
        }
        if (registry_ != nullptr) registry_->connectionStatusChanged(*this);
        return;
    }
    _status = statusConnected;
    if (delegate() != nullptr) delegate()->matrixDimensionsChangedTo(*this, size);
}

void TCPMatrixSwitcher::nodeConnectionDidClose(SwitchTelnetController&) {
    _status = statusClosed;
    settleOutcome();
    if (registry_ != nullptr) registry_->connectionStatusChanged(*this);
}

std::shared_ptr<SwitchTelnetCommand> TCPMatrixSwitcher::processCommand(std::string text) {
    auto command = std::make_shared<SwitchTelnetCommand>();
    command->setCommand(std::move(text));
    command->setClient(this);
    command->setRequiresXMLResponse(false);
    settleOutcome();
    cutUntil_.reset();
    telnetController_->processCommandSynchronously(command);
    if (command->hasResponse() && hasLineEnd(*command)) repliesEndLines_ = true;
    return command;
}

SwitcherConnection TCPMatrixSwitcher::connectionStatus() const {
    using State = SwitcherConnection::State;
    using Cause = TelnetConnectionEnd::Cause;
    const auto end = telnetController_->connectionEnd();
    if (!_isOpen || end.cause == Cause::owner) return {};
    if (end.cause != Cause::none) {
        return {end.cause == Cause::peer ? State::ended : State::failed, end.reason, end.wasMade, end.moment};
    }
    if (_status == statusConnected) return {State::connected, "", true, {}};
    return {State::connecting, sizeProblem_, false, {}};
}

std::shared_ptr<const CommandOutcome> TCPMatrixSwitcher::lastOutcome() {
    settleOutcome();
    return lastOutcome_;
}

void TCPMatrixSwitcher::noteOutcome(const SwitchTelnetCommand& command, bool anythingWasSent, CommandOutcome ofReply) {
    if (!command.hasResponse()) ofReply = outcomeWithoutReply(anythingWasSent);
    lastOutcome_ = std::make_shared<CommandOutcome>(std::move(ofReply));
    if (!command.hasResponse() || lastOutcome_->answer == CommandAnswer::refused || hasLineEnd(command)) return;
    if (repliesEndLines_ && lastOutcome_->answer == CommandAnswer::answered) {
        *lastOutcome_ = {CommandAnswer::unusableReply,
                         "The server's reply lacks its line end and may be a part of one"};
    }
    cutUntil_ = fromNow(kCutReplyTime);
    settleOutcome();
}

CommandOutcome TCPMatrixSwitcher::outcomeWithoutReply(bool anythingWasSent) const {
    auto end = telnetController_->connectionEnd();
    if (!anythingWasSent) return {CommandAnswer::noConnection, std::move(end.reason)};
    if (end.cause == TelnetConnectionEnd::Cause::timeOut) return {CommandAnswer::noAnswerInTime, std::move(end.reason)};
    // An end that is not known yet is just happening.
    return {CommandAnswer::connectionEnded,
            end.reason.empty() ? "The server ended the connection" : std::move(end.reason)};
}

void TCPMatrixSwitcher::settleOutcome() {
    if (!cutUntil_) return;
    const auto end = telnetController_->connectionEnd();
    if (end.cause != TelnetConnectionEnd::Cause::peer && end.cause != TelnetConnectionEnd::Cause::failure) return;
    if (end.date <= *cutUntil_) {
        *lastOutcome_ = {CommandAnswer::connectionEnded, end.reason + "; the reply before may be a part of one"};
    }
    cutUntil_.reset();
}

NSSize TCPMatrixSwitcher::getMatrixDimensions() {
    if (!telnetController_->isConnected()) return {};
    const auto command = processCommand("MATRIXSIZE");
    if (command->hasResponse()) {
        const auto reply = command->responseString();
        sizeProblem_ = "The server's reply to MATRIXSIZE is no size: " + (reply ? quotedText(*reply) : "not UTF-8");
        const auto pieces = componentsSeparatedByString(reply.value_or(""), "x");
        if (pieces.size() == 2) {
            const std::int32_t inputs = intValue(pieces[0]);
            const std::int32_t outputs = intValue(pieces[1]);
            if (isMatrixSize(inputs) && isMatrixSize(outputs)) {
                _numberOfInputs = inputs;
                _numberOfOutputs = outputs;
                sizeProblem_.clear();
            }
        }
    }
    return {static_cast<double>(_numberOfInputs), static_cast<double>(_numberOfOutputs)};
}

std::int64_t TCPMatrixSwitcher::selectedInputForOutput(std::int64_t output) {
    const auto refresh = processCommand("REFRESH");
    const auto command = processCommand(stringWithFormat("GET %li", numberOf(output)));
    if (refresh->hasResponse()) {
        noteOutcome(*command, true, outcomeOfRouteReply(command->responseString(), numberOf(output), _numberOfInputs));
    } else {
        noteOutcome(*refresh, refresh->wasSent(), {});
    }
    const auto pieces = componentsSeparatedByString(command->responseString().value_or(""), " ");
    if (pieces.size() != 2) return 0;  // intended: no usable answer reads as the first input
    return indexOf(integerValue(pieces[1]));
}

bool TCPMatrixSwitcher::switchOutputToInput(std::int64_t output, std::int64_t input) {
    const auto command = processCommand(stringWithFormat("SET %i %i", numberOf(static_cast<std::int32_t>(output)),
                                                         numberOf(static_cast<std::int32_t>(input))));
    noteOutcome(*command, command->wasSent(), outcomeOfReply(command->responseString()));
    return false;
}

std::optional<std::string> TCPMatrixSwitcher::labelAtIndex(FormatOfOneInteger format, std::int32_t index) {
    if (!telnetController_->isConnected()) return std::nullopt;
    const auto command = processCommand(stringWithFormat(format, numberOf(index)));
    return command->hasResponse() ? command->responseString() : std::nullopt;
}

void TCPMatrixSwitcher::sendTelnetCommand(const std::shared_ptr<SwitchTelnetCommand>& command) {
    settleOutcome();
    cutUntil_.reset();
    telnetController_->addNewCommand(command);
}

}  // namespace velmora
