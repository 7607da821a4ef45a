#include "server/SwitchServer.h"

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>
#include <chrono>
#include <exception>
#include <utility>

#include "server/ClientConnection.h"
#include "server/SocketName.h"

namespace velmora {

namespace {

// How long new clients wait before the next try when there was no room for them, or a fault held them back.
constexpr auto acceptPause = std::chrono::milliseconds(50);

}  // namespace

// What exists only between start and stop. Connections are held by their pending operations, which end with the
// io_context.
class SwitchServer::Listener {
  public:
    explicit Listener(SwitchServer& server) : server_(server) {}

    void listen(const std::string& address, std::uint16_t port) {
        const asio::ip::tcp::endpoint endpoint(asio::ip::make_address(address), port);
        acceptor_.open(endpoint.protocol());
        // A server that is started again at once gets its port back although old connections linger.
        acceptor_.set_option(asio::ip::tcp::acceptor::reuse_address(true));
        acceptor_.bind(endpoint);
        acceptor_.listen();
        acceptor_.non_blocking(true);
        server_.port_ = acceptor_.local_endpoint().port();
        server_.endpoint_ = socketName(acceptor_.local_endpoint());
        acceptNext();
    }

    void run() { context_.run(); }
    void stop() { context_.stop(); }

  private:
    void acceptNext() {
        // Waited for first and then taken: a fault may hold it back until the moment when it is there.
        acceptor_.async_wait(asio::ip::tcp::acceptor::wait_read, [this](asio::error_code failure) {
            if (failure) return;
            if (server_.faults_ && server_.faults_->acceptingIsHeld()) return acceptAfterPause();
            accept();
        });
    }

    void accept() {
        asio::error_code failure;
        asio::ip::tcp::socket socket = acceptor_.accept(failure);
        if (!failure) {
            std::make_shared<ClientConnection>(std::move(socket), server_.protocol_, server_.delegate_, server_.faults_,
                                               server_.clients_)
                ->start();
        } else if (failure != asio::error::connection_aborted && failure != asio::error::would_block) {
            return acceptLater(failure);
        }
        troubleReported_ = false;
        acceptNext();
    }

    // Out of descriptors or of memory: the clients wait in the kernel's queue and are tried again now and then.
    void acceptLater(asio::error_code failure) {
        if (!std::exchange(troubleReported_, true) && server_.delegate_)
            server_.delegate_->serverCannotAccept(failure.message());
        acceptAfterPause();
    }

    void acceptAfterPause() {
        pause_.expires_after(acceptPause);
        pause_.async_wait([this](asio::error_code ended) {
            if (!ended) acceptNext();
        });
    }

    SwitchServer& server_;
    asio::io_context context_{1};  // only one thread runs it
    asio::ip::tcp::acceptor acceptor_{context_};
    asio::steady_timer pause_{context_};
    bool troubleReported_ = false;
};

SwitchServer::SwitchServer(VirtualMatrix& matrix, SwitchServerDelegate* delegate, FaultPlan* faults)
    : protocol_(matrix), delegate_(delegate), faults_(faults) {}

SwitchServer::~SwitchServer() {
    stop();
}

std::optional<std::string> SwitchServer::start(const std::string& address, std::uint16_t port) {
    stop();
    try {
        listener_ = std::make_unique<Listener>(*this);
        listener_->listen(address, port);
        thread_ = std::thread([listener = listener_.get()] { listener->run(); });
    } catch (const asio::system_error& error) {
        listener_.reset();
        return error.code().message();
    } catch (const std::exception& error) {
        listener_.reset();
        return error.what();
    }
    return std::nullopt;
}

void SwitchServer::stop() {
    if (!listener_) return;
    listener_->stop();
    thread_.join();
    listener_.reset();
}

}  // namespace velmora
