#include "switcher/TCPMatrixSwitcher.h"

#include <utility>

#include "discovery/ServerInfo.h"
#include "platform/foundation/Text.h"

namespace velmora {

namespace {

// The server counts from 1. Both additions wrap, so that no index whatever is undefined behaviour.
std::int32_t wireNumber(std::int32_t index) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(index) + 1U);
}

std::int64_t wireNumber(std::int64_t index) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(index) + 1U);
}

std::int64_t indexOfWireNumber(std::int64_t number) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(number) - 1U);
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

void TCPMatrixSwitcher::setDelegate(TCPMatrixSwitcherDelegate* delegate) {
    registry_ = delegate;
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
    telnetController_->startConnectionWithNetService(server->netService());
    _status = statusRequested;
    setCurrentServer(server);
    server->registerClient(shared_from_this());
    _isOpen = true;
    return true;
}

void TCPMatrixSwitcher::closePort() {
    telnetController_->closeStreams();
    setCurrentServer(nullptr);
    _status = statusClosed;
}

void TCPMatrixSwitcher::setCurrentServer(std::shared_ptr<ServerInfo> server) {
    _currentServer.swap(server);
}

void TCPMatrixSwitcher::nodeConnectionDidOpen(SwitchTelnetController&) {
    const auto keepAlive = shared_from_this();  // the delegate may let go of the switcher
    const NSSize size = getMatrixDimensions();
    if (size.width <= 0.0 || size.height <= 0.0) return;
    _status = statusConnected;
    if (registry_ != nullptr) registry_->matrixDimensionsChangedTo(*this, size);
}

void TCPMatrixSwitcher::nodeConnectionDidClose(SwitchTelnetController&) {
    _status = statusClosed;
}

void TCPMatrixSwitcher::nodeConnectionDidNotOpen(SwitchTelnetController&) {}

std::shared_ptr<SwitchTelnetCommand> TCPMatrixSwitcher::processCommand(std::string text) {
    auto command = std::make_shared<SwitchTelnetCommand>();
    command->setCommand(std::move(text));
    command->setClient(this);
    command->setRequiresXMLResponse(false);
    telnetController_->processCommandSynchronously(command);
    return command;
}

NSSize TCPMatrixSwitcher::getMatrixDimensions() {
    if (!telnetController_->isConnected()) return {};
    const auto command = processCommand("MATRIXSIZE");
    if (command->hasResponse()) {
        const auto pieces = componentsSeparatedByString(command->responseString().value_or(""), "x");
        if (pieces.size() == 2) {
            const std::int32_t inputs = intValue(pieces[0]);
            const std::int32_t outputs = intValue(pieces[1]);
            if (isMatrixSize(inputs) && isMatrixSize(outputs)) {
                _numberOfInputs = inputs;
                _numberOfOutputs = outputs;
            }
        }
    }
    return {static_cast<double>(_numberOfInputs), static_cast<double>(_numberOfOutputs)};
}

std::int64_t TCPMatrixSwitcher::selectedInputForOutput(std::int64_t output) {
    processCommand("REFRESH");
    const auto command = processCommand(stringWithFormat("GET %li", wireNumber(output)));
    const auto pieces = componentsSeparatedByString(command->responseString().value_or(""), " ");
    if (pieces.size() != 2) return 0;  // intended: no usable answer reads as the first input
    return indexOfWireNumber(integerValue(pieces[1]));
}

bool TCPMatrixSwitcher::switchOutputToInput(std::int64_t output, std::int64_t input) {
    processCommand(stringWithFormat("SET %i %i", wireNumber(static_cast<std::int32_t>(output)),
                                    wireNumber(static_cast<std::int32_t>(input))));
    return false;
}

std::optional<std::string> TCPMatrixSwitcher::inputLabelAtIndex(std::int32_t index) {
    return labelAtIndex("INPUTLABEL %li", index);
}

std::optional<std::string> TCPMatrixSwitcher::outputLabelAtIndex(std::int32_t index) {
    return labelAtIndex("OUTPUTLABEL %li", index);
}

std::optional<std::string> TCPMatrixSwitcher::labelAtIndex(const char* format, std::int32_t index) {
    if (!telnetController_->isConnected()) return std::nullopt;
    const auto command = processCommand(stringWithFormat(format, wireNumber(index)));
    if (!command->hasResponse()) return std::nullopt;
    return command->responseString();
}

void TCPMatrixSwitcher::sendTelnetCommand(const std::shared_ptr<SwitchTelnetCommand>& command) {
    telnetController_->addNewCommand(command);
}

void TCPMatrixSwitcher::sendCommandStatus(const std::string&, std::int32_t) {}

}  // namespace velmora
