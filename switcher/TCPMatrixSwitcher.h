// A matrix switcher behind a switch server on the network: each question becomes one command line, sent and answered
// synchronously.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "switcher/MatrixSwitcher.h"
#include "transport/SwitchTelnetController.h"

namespace velmora {

class ServerInfo;

// The registry of servers that the switcher looks its server up in.
class TCPMatrixSwitcherDelegate : public MatrixSwitcherDelegate {
  public:
    // The index of the first server of that name in serversArray; -1 when there is none.
    virtual std::int32_t indexOfServerForName(const std::string& name) const = 0;
    virtual const std::vector<std::shared_ptr<ServerInfo>>& serversArray() const = 0;
};

// Numbers of inputs or outputs beyond these are no matrix size.
inline constexpr std::int32_t kMatrixSizeLimit = 65536;

// Made with std::make_shared. Main thread only; a query blocks it until the server answers or the reply's time limit
// has passed, after which the connection is closed. Only the dimensions are kept: routes and labels are asked for each
// time.
class TCPMatrixSwitcher final : public MatrixSwitcher, private SwitchTelnetControllerDelegate {
  public:
    explicit TCPMatrixSwitcher(TelnetTimeLimits limits = {});
    ~TCPMatrixSwitcher() override;

    // Not owned.
    void setDelegate(TCPMatrixSwitcherDelegate* delegate);
    TCPMatrixSwitcherDelegate* delegate() const { return registry_; }

    // Begins to connect to the named server and returns at once: true when it did or ever had. The outcome shows as
    // isConnected and, once the dimensions are known, as the delegate's matrixDimensionsChangedTo.
    bool openPort(const std::string& name) override;
    // Closes the connection. The server's record keeps the switcher among its clients; that is intended.
    void closePort() override;

    bool isConnected() const override { return telnetController_->isConnected(); }
    bool isTryingToConnect() const { return telnetController_->isTryingToConnect(); }

    // 0 when the server gave no usable answer, also without a connection.
    std::int64_t selectedInputForOutput(std::int64_t output) override;
    // Answers false, whatever the server did; the indices are cut to 32 bits.
    bool switchOutputToInput(std::int64_t output, std::int64_t input) override;
    // Asks for the size and keeps it: 0 x 0 without a connection, the numbers known before when the answer is unusable.
    NSSize getMatrixDimensions();
    // None without a connection or without an answer.
    std::optional<std::string> inputLabelAtIndex(std::int32_t index);
    std::optional<std::string> outputLabelAtIndex(std::int32_t index);

    // Queues a command of the caller's without waiting for its reply.
    void sendTelnetCommand(const std::shared_ptr<SwitchTelnetCommand>& command);
    // Does nothing.
    void sendCommandStatus(const std::string& command, std::int32_t status);

    void setCurrentServer(std::shared_ptr<ServerInfo> server);
    const std::shared_ptr<ServerInfo>& currentServer() const { return _currentServer; }

  private:
    // Where the connection stands. Written only; nothing reads it but a debugger.
    enum Status : std::int32_t { statusClosed = 0, statusConnected = 1, statusRequested = 3 };

    void nodeConnectionDidOpen(SwitchTelnetController& controller) override;
    void nodeConnectionDidClose(SwitchTelnetController& controller) override;
    void nodeConnectionDidNotOpen(SwitchTelnetController& controller) override;

    std::shared_ptr<SwitchTelnetCommand> processCommand(std::string text);
    std::optional<std::string> labelAtIndex(const char* format, std::int32_t index);

    const std::shared_ptr<SwitchTelnetController> telnetController_;
    Status _status = statusClosed;
    std::shared_ptr<ServerInfo> _currentServer;
    TCPMatrixSwitcherDelegate* registry_ = nullptr;
};

}  // namespace velmora
