// A matrix switcher behind a switch server on the network: each question becomes one command line, sent and answered
// synchronously.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/foundation/Text.h"
#include "switcher/CommandOutcome.h"
#include "switcher/MatrixSwitcher.h"
#include "transport/SwitchTelnetController.h"

namespace velmora {

class ServerInfo;
class TCPMatrixSwitcher;

// The registry of servers that the switcher looks its server up in.
class TCPMatrixSwitcherDelegate : public MatrixSwitcherDelegate {
  public:
    // The index of the first server of that name in serversArray; -1 when there is none.
    virtual std::int32_t indexOfServerForName(const std::string& name) const = 0;
    virtual const std::vector<std::shared_ptr<ServerInfo>>& serversArray() const = 0;
    // The switcher's connectionStatus, or its last outcome, has changed. Not called for a change that the caller of an
    // operation sees when it returns.
    virtual void connectionStatusChanged(TCPMatrixSwitcher&) {}
};

// The state of a switcher's connection.
struct SwitcherConnection {
    enum class State {
        none,        // no port was opened, or no server was known under its name
        connecting,  // until the server has accepted the connection and told a size that is not empty
        connected,
        ended,   // by the server
        failed,  // it could not be made, broke, or was given up because no answer came in time
    };
    State state = State::none;
    std::string reason;                         // in plain words, without a full stop; "" where the state says all
    bool wasMade = false;                       // whether the server has accepted it
    std::chrono::system_clock::time_point end;  // when it ended or failed
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

    // Not owned. One that is no TCPMatrixSwitcherDelegate is told the dimensions, and no server is found through it.
    void setDelegate(MatrixSwitcherDelegate* delegate) override;

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
    std::optional<std::string> inputLabelAtIndex(std::int32_t index) { return labelAtIndex("INPUTLABEL %li", index); }
    std::optional<std::string> outputLabelAtIndex(std::int32_t index) { return labelAtIndex("OUTPUTLABEL %li", index); }

    SwitcherConnection connectionStatus() const;
    // Of the last selectedInputForOutput or switchOutputToInput; null before. A reply without a line end may be a part
    // of one. It counts as unusable where an earlier one on the connection had a line end; and when the connection ends
    // within a second, with nothing sent meanwhile, the outcome that was handed out here becomes connectionEnded.
    std::shared_ptr<const CommandOutcome> lastOutcome();

    // Queues a command of the caller's without waiting for its reply. Nothing in the product calls it: a second one
    // before the reply to the first blocks the caller until then.
    void sendTelnetCommand(const std::shared_ptr<SwitchTelnetCommand>& command);
    // Does nothing.
    void sendCommandStatus(const std::string&, std::int32_t) {}

    void setCurrentServer(std::shared_ptr<ServerInfo> server) { _currentServer.swap(server); }
    const std::shared_ptr<ServerInfo>& currentServer() const { return _currentServer; }

  private:
    enum Status : std::int32_t { statusClosed = 0, statusConnected = 1, statusRequested = 3 };

    void nodeConnectionDidOpen(SwitchTelnetController& controller) override;
    void nodeConnectionDidClose(SwitchTelnetController& controller) override;
    void nodeConnectionDidNotOpen(SwitchTelnetController&) override {}

    std::shared_ptr<SwitchTelnetCommand> processCommand(std::string text);
    std::optional<std::string> labelAtIndex(FormatOfOneInteger format, std::int32_t index);
    // Stores the outcome of a question by its last command: `ofReply` if that has a reply.
    void noteOutcome(const SwitchTelnetCommand& command, bool anythingWasSent, CommandOutcome ofReply);
    CommandOutcome outcomeWithoutReply(bool anythingWasSent) const;
    void settleOutcome();

    const std::shared_ptr<SwitchTelnetController> telnetController_;
    Status _status = statusClosed;
    std::shared_ptr<ServerInfo> _currentServer;
    TCPMatrixSwitcherDelegate* registry_ = nullptr;
    std::string sizeProblem_;       // why the connection's size is not known
    bool repliesEndLines_ = false;  // a reply on this connection has ended in a line end
    std::shared_ptr<CommandOutcome> lastOutcome_;
    // An end of the connection up to this moment says that the last reply was cut.
    std::optional<Date> cutUntil_;
};

}  // namespace velmora
