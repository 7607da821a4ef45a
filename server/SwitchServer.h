// Serves a matrix over TCP to any number of clients, on one thread of its own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "platform/foundation/Result.h"
#include "server/ClientList.h"
#include "server/FaultPlan.h"
#include "server/SwitchProtocol.h"
#include "server/VirtualMatrix.h"

namespace velmora {

// Told about the traffic on the server's thread; must not call the server. Clients are named by their address and port.
class SwitchServerDelegate {
  public:
    virtual ~SwitchServerDelegate() = default;
    // A line as it came, without its end; of one that is too long the beginning.
    virtual void serverDidReceiveLine(std::string_view client, std::string_view line) { (void)client, (void)line; }
    // A reply as it goes, without its end; where a fault cuts it or adds to it, each part that goes out at once.
    virtual void serverDidAnswerLine(std::string_view client, std::string_view reply) { (void)client, (void)reply; }
    // A line (its beginning, if it is too long), and what the client gets for it: none when that is nothing. Comes
    // before the reply goes out; where a fault changes that, all of it at once.
    virtual void serverDidCarryOut(std::string_view client, std::string_view line,
                                   const std::optional<std::string_view>& reply, bool isFaulty) {
        (void)client, (void)line, (void)reply, (void)isFaulty;
    }
    virtual void serverDidGetClient(std::string_view client) { (void)client; }
    // Also on the thread that stops the server, for the clients that are there then.
    virtual void serverDidLoseClient(std::string_view client) { (void)client; }
    // New clients wait until some of the present ones have left.
    virtual void serverCannotAccept(const std::string& reason) { (void)reason; }
};

// Each line is answered by one line that ends with CR LF; the replies to the lines that came together go out in one
// write. A client whose replies do not leave is not read from until they have: what it can make the server hold is
// bounded, and the others do not feel it. Faults change all that on purpose. Made, started, stopped and destroyed by
// one thread; its port, endpoint and number of clients may be asked for on any.
class SwitchServer {
  public:
    // None is owned; all outlive the server. Delegate and faults may be null.
    explicit SwitchServer(VirtualMatrix& matrix, SwitchServerDelegate* delegate = nullptr, FaultPlan* faults = nullptr);
    SwitchServer(const SwitchServer&) = delete;
    SwitchServer& operator=(const SwitchServer&) = delete;
    ~SwitchServer();

    // Listens on IPv4 or IPv6 addresses, at least one, all on the same port (a free one for port 0), and serves; a
    // failure when it cannot listen on each of them. A link-local address ends in "%" and its interface.
    Result<void> start(const std::vector<std::string>& addresses, std::uint16_t port);
    Result<void> start(const std::string& address, std::uint16_t port) { return start(std::vector{address}, port); }
    // Closes every connection and ends the thread. A stopped server may be started again.
    void stop();

    // Ends the present connections, as a server does that hangs up or, with a reset, one that has crashed; returns how
    // many. The thread that started the server.
    std::size_t dropClients(bool withReset);

    // Of the last successful start: the port, and each address with it, as in "127.0.0.1:4000, [::1]:4000".
    std::uint16_t port() const { return port_; }
    const std::string& endpoint() const { return endpoint_; }
    // The number of connections at this moment.
    std::size_t clients() const { return clients_.size(); }
    std::vector<std::string> clientNames() const { return clients_.names(); }

  private:
    class Listener;
    class Listeners;

    const SwitchProtocol protocol_;
    SwitchServerDelegate* const delegate_;
    FaultPlan* const faults_;
    std::uint16_t port_ = 0;
    std::string endpoint_;
    ClientList clients_;
    std::unique_ptr<Listeners> listeners_;
    std::thread thread_;
};

}  // namespace velmora
