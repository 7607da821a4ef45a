// One reply on its way out as a fault wants it.
#pragma once

#include <array>
#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "server/FaultPlan.h"

namespace velmora {

// Lives, and keeps alive what its callbacks hold, until everything is sent and, where it waits for that, the client has
// gone.
// Server's thread only.
class FaultyReply : public std::enable_shared_from_this<FaultyReply> {
  public:
    // A part of the reply that goes out at once, with its line end where it has one.
    using Sending = std::function<void(std::string_view segment)>;
    // The connection is to be served further. Not called when it has ended, or must not be.
    using Done = std::function<void()>;

    // The socket is not owned; the callbacks keep it alive.
    FaultyReply(asio::ip::tcp::socket& socket, const Delivery& delivery, Sending sending, Done done);

    void start();

  private:
    void wait(std::chrono::milliseconds time, void (FaultyReply::*next)());
    void sendNext();
    void finish();
    void discardUntilTheEnd();
    void holdUntilTheEnd();

    asio::ip::tcp::socket& socket_;
    asio::steady_timer timer_;
    std::vector<std::string> segments_;
    std::size_t next_ = 0;
    const std::chrono::milliseconds delay_;
    const Delivery::After after_;
    const Sending sending_;
    const Done done_;
    std::array<char, 2048> discarded_;
};

}  // namespace velmora
