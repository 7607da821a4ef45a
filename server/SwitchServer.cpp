#include "server/SwitchServer.h"

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/post.hpp>
#include <asio/steady_timer.hpp>
#include <chrono>
#include <exception>
#include <future>
#include <utility>

#include "platform/network/SocketAddress.h"
#include "server/ClientConnection.h"

namespace velmora {

namespace {

// How long new clients wait before the next try when there was no room for them, or a fault held them back.
constexpr std::chrono::milliseconds kAcceptPause{50};

}  // namespace

// On one address.
class SwitchServer::Listener {
  public:
    Listener(SwitchServer& server, asio::io_context& context) : server_(server), acceptor_(context), pause_(context) {}

    // Answers where it listens: a port of 0 has become a free one.
    asio::ip::tcp::endpoint listen(const asio::ip::tcp::endpoint& endpoint) {
        acceptor_.open(endpoint.protocol());
        // A server that is started again at once gets its port back although old connections linger.
        acceptor_.set_option(asio::ip::tcp::acceptor::reuse_address(true));
        acceptor_.bind(endpoint);
        acceptor_.listen();
        acceptor_.non_blocking(true);
        acceptNext();
        return acceptor_.local_endpoint();
    }

  private:
    void acceptNext() {
        // First waited for, then taken: by then a fault may hold it back.
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
        if (!std::exchange(troubleReported_, true) && server_.delegate_) {
            server_.delegate_->serverCannotAccept(failure.message());
        }
        acceptAfterPause();
    }

    void acceptAfterPause() {
        pause_.expires_after(kAcceptPause);
        pause_.async_wait([this](asio::error_code ended) {
            if (!ended) acceptNext();
        });
    }

    SwitchServer& server_;
    asio::ip::tcp::acceptor acceptor_;
    asio::steady_timer pause_;
    bool troubleReported_ = false;
};

// Exists only between start and stop. Connections are held by their pending operations, which end with the io_context.
class SwitchServer::Listeners {
  public:
    Listeners(SwitchServer& server, const std::vector<std::string>& addresses, std::uint16_t port) {
        server.port_ = port;
        server.endpoint_.clear();
        for (const std::string& address : addresses) {
            auto& listener = *listeners_.emplace_back(std::make_unique<Listener>(server, context_));
            const auto endpoint = listener.listen({asio::ip::make_address(address), server.port_});
            server.port_ = endpoint.port();
            server.endpoint_ += (server.endpoint_.empty() ? "" : ", ") +
                                SocketAddress(endpoint.data(), static_cast<socklen_t>(endpoint.size())).text();
        }
    }

    void run() { context_.run(); }
    void stop() { context_.stop(); }
    template <typename Work>
    void perform(Work work) {
        asio::post(context_, std::move(work));
    }

  private:
    asio::io_context context_{1};  // only one thread runs it
    std::vector<std::unique_ptr<Listener>> listeners_;
};

SwitchServer::SwitchServer(VirtualMatrix& matrix, SwitchServerDelegate* delegate, FaultPlan* faults)
    : protocol_(matrix), delegate_(delegate), faults_(faults) {}

SwitchServer::~SwitchServer() {
    stop();
}

Result<void> SwitchServer::start(const std::vector<std::string>& addresses, std::uint16_t port) {
    stop();
    // A port that is free at one address may be taken at the next; then another free one is tried.
    constexpr int kAttempts = 20;
    for (int attempt = 1;; ++attempt) {
        try {
            listeners_ = std::make_unique<Listeners>(*this, addresses, port);
            thread_ = std::thread([listeners = listeners_.get()] { listeners->run(); });
            return {};
        } catch (const asio::system_error& error) {
            listeners_.reset();
            if (port == 0 && error.code() == asio::error::address_in_use && attempt < kAttempts) continue;
            return Failure{error.code().message()};
        } catch (const std::exception& error) {
            listeners_.reset();
            return Failure{error.what()};
        }
    }
}

void SwitchServer::stop() {
    if (!listeners_) return;
    listeners_->stop();
    thread_.join();
    listeners_.reset();
}

std::size_t SwitchServer::dropClients(bool withReset) {
    if (!listeners_) return 0;
    std::promise<std::size_t> dropped;
    listeners_->perform([&] { dropped.set_value(clients_.drop(withReset)); });
    return dropped.get_future().get();
}

}  // namespace velmora
