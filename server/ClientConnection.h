// One client of the server: its lines come in, its replies go out.
#pragma once

#include <array>
#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>
#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "server/ClientList.h"
#include "server/FaultPlan.h"
#include "server/LineReader.h"
#include "server/SwitchProtocol.h"
#include "server/SwitchServer.h"

namespace velmora {

// Kept alive by its own pending operation, as long as something is to be read or written. Server's thread only.
class ClientConnection : public std::enable_shared_from_this<ClientConnection> {
  public:
    // Protocol, delegate, faults (both may be null) and clients are not owned. The connection is in the list of clients
    // from its start to its end.
    ClientConnection(asio::ip::tcp::socket socket, const SwitchProtocol& protocol, SwitchServerDelegate* delegate,
                     FaultPlan* faults, ClientList& clients);
    ClientConnection(const ClientConnection&) = delete;
    ClientConnection& operator=(const ClientConnection&) = delete;
    ~ClientConnection();

    void start();
    // Ends the connection, whatever it is doing.
    void drop(bool withReset);

  private:
    void leave();
    void readNext();
    void answer();
    void answerLine(const LineReader::Line& line);
    bool commitFault(std::string_view line, std::string_view reply);
    void tellOfCommand(std::string_view line, std::string_view reply, bool isFaulty);
    void writeReplies();
    void repliesWritten();
    // A reply on its way out as a fault wants it: segment after segment, then what the connection does after it.
    void beginFaultyReply();
    void sendNextSegment();
    void endFaultyReply();
    void discardUntilTheEnd();
    void holdUntilTheEnd();
    void wait(std::chrono::milliseconds time, void (ClientConnection::*next)());

    asio::ip::tcp::socket socket_;
    const SwitchProtocol& protocol_;
    SwitchServerDelegate* const delegate_;
    FaultPlan* const faults_;
    const bool mute_;
    ClientList& clients_;
    std::string name_;
    LineReader reader_;
    std::array<char, 2048> incoming_;
    std::string_view unanswered_;          // the rest of the incoming bytes
    std::optional<Delivery> faultyReply_;  // goes out after the replies, and before the next line is read
    std::vector<std::string> segments_;    // of the faulty reply
    std::size_t nextSegment_ = 0;
    std::string replies_;  // as much as the lines of one read ask for
    asio::steady_timer timer_;
};

}  // namespace velmora
