#include "tests/support/ScriptedPeer.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <stdexcept>
#include <tuple>
#include <utility>

namespace velmora::test {

namespace {

constexpr auto longestWait = std::chrono::seconds(30);

int checked(int result, const char* what) {
    if (result < 0) throw std::runtime_error(std::string(what) + ": " + std::strerror(errno));
    return result;
}

// A socket bound to a free port of 127.0.0.1, and that port.
std::pair<int, std::uint16_t> boundSocket() {
    const int descriptor = checked(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket");
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    checked(::bind(descriptor, reinterpret_cast<sockaddr*>(&address), length), "bind");
    checked(::getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &length), "getsockname");
    return {descriptor, ntohs(address.sin_port)};
}

void makeReadable(int eventDescriptor) {
    const std::uint64_t one = 1;
    checked(static_cast<int>(::write(eventDescriptor, &one, sizeof one)), "eventfd");
}

std::string printable(const std::string& bytes) {
    constexpr std::size_t limit = 200;
    if (bytes.size() <= limit) return testing::PrintToString(bytes);
    return testing::PrintToString(bytes.substr(0, limit)) + "... (" + std::to_string(bytes.size()) + " bytes)";
}

}  // namespace

PeerScript& PeerScript::add(Kind kind, std::string bytes) {
    steps_.push_back({kind, std::move(bytes)});
    return *this;
}

PeerScript& PeerScript::sendInPieces(std::string_view bytes, std::size_t pieceSize) {
    for (std::size_t at = 0; at < bytes.size(); at += pieceSize)
        send(std::string(bytes.substr(at, pieceSize)));
    return *this;
}

PeerScript& PeerScript::exchange(std::string_view command, std::string_view reply) {
    return expect(std::string(command) + "\n\r").send(std::string(reply) + "\r\n");
}

PeerScript& PeerScript::then(const PeerScript& other, std::size_t times) {
    const std::vector<Step> appended = other.steps_;
    for (std::size_t i = 0; i < times; ++i)
        steps_.insert(steps_.end(), appended.begin(), appended.end());
    return *this;
}

std::string PeerScript::describe(const Step& step) {
    static const char* const names[] = {
        "expect", "send", "wait for the test's signal", "notify the test", "expect close", "close", "reset"};
    return std::string(names[static_cast<int>(step.kind)]) + (step.bytes.empty() ? "" : " " + printable(step.bytes));
}

void ScriptedPeer::Descriptor::close() {
    if (number_ >= 0) ::close(number_);
    number_ = -1;
}

ScriptedPeer::ScriptedPeer(PeerScript script) : ScriptedPeer(std::vector<PeerScript>{std::move(script)}) {}

ScriptedPeer::ScriptedPeer(std::vector<PeerScript> scripts)
    : scripts_(std::move(scripts)),
      listener_([this] {
          const auto [descriptor, port] = boundSocket();
          port_ = port;
          return descriptor;
      }()),
      signals_(checked(eventfd(0, EFD_SEMAPHORE | EFD_CLOEXEC), "eventfd")),
      finishing_(checked(eventfd(0, EFD_CLOEXEC), "eventfd")),
      abandoned_(checked(eventfd(0, EFD_CLOEXEC), "eventfd")) {
    checked(::listen(listener_.get(), 16), "listen");
    thread_ = std::thread([this] { serve(); });
}

ScriptedPeer::~ScriptedPeer() {
    finish();
}

void ScriptedPeer::signal() {
    makeReadable(signals_.get());
}

int ScriptedPeer::notices() const {
    MutexLock lock(mutex_);
    return notices_;
}

bool ScriptedPeer::waitForNotice(int count) const {
    const auto deadline = std::chrono::steady_clock::now() + longestWait;
    MutexLock lock(mutex_);
    while (notices_ < count && !noticesEnded_ && changed_.wait_until(lock, deadline) == std::cv_status::no_timeout) {
    }
    return notices_ >= count;
}

void ScriptedPeer::finish() {
    if (!thread_.joinable()) return;
    if (testing::Test::HasFatalFailure()) makeReadable(abandoned_.get());
    makeReadable(finishing_.get());
    thread_.join();
    MutexLock lock(mutex_);
    for (const std::string& failure : failures_)
        ADD_FAILURE() << "scripted peer, " << failure;
}

void ScriptedPeer::addFailure(std::string text) {
    MutexLock lock(mutex_);
    failures_.push_back(std::move(text));
}

void ScriptedPeer::addNotice() {
    MutexLock lock(mutex_);
    ++notices_;
    changed_.notify_all();
}

void ScriptedPeer::endNotices() {
    MutexLock lock(mutex_);
    noticesEnded_ = true;
    changed_.notify_all();
}

void ScriptedPeer::serve() {
    try {
        for (std::size_t i = 0; i < scripts_.size(); ++i) {
            const Wait accepted = waitFor(listener_.get(), POLLIN, false);
            if (accepted == Wait::timedOut) addFailure("connection " + std::to_string(i + 1) + " was never made");
            if (accepted != Wait::ready) throw Abandoned{};
            Descriptor connection(checked(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC), "accept"));
            const int on = 1;
            checked(::setsockopt(connection.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on), "TCP_NODELAY");
            runScript(i, connection);
        }
        // Ready before finishing means, here as below, that what nobody expected has come.
        if (waitFor(listener_.get(), POLLIN, true) == Wait::ready)
            addFailure("a connection more than the scripts know");
    } catch (const Abandoned&) {
        // A script failed and has said so, or the test has.
    } catch (const std::exception& error) {
        addFailure(error.what());
    }
    // From here on the client under test is refused rather than left waiting.
    listener_.close();
    endNotices();
}

void ScriptedPeer::runScript(std::size_t index, Descriptor& connection) {
    std::size_t at = 0;
    const auto& steps = scripts_[index].steps_;
    try {
        for (; at < steps.size(); ++at)
            runStep(steps[at], connection);
        const bool last = index + 1 == scripts_.size();
        if (last) endNotices();
        if (connection.get() >= 0) expectEnd(connection.get(), last);
    } catch (const Abandoned& abandoned) {
        const std::string place = at < steps.size()
                                      ? "step " + std::to_string(at + 1) + " (" + PeerScript::describe(steps[at]) + ")"
                                      : std::string("behind the last step");
        if (!abandoned.reason.empty())
            addFailure("connection " + std::to_string(index + 1) + ", " + place + ": " + abandoned.reason);
        throw;
    }
}

void ScriptedPeer::runStep(const PeerScript::Step& step, Descriptor& connection) {
    switch (step.kind) {
        case PeerScript::Kind::expect:
            return expectBytes(step.bytes, connection.get());
        case PeerScript::Kind::send:
            return sendBytes(step.bytes, connection.get());
        case PeerScript::Kind::waitForSignal: {
            waitOrAbandon(signals_.get(), POLLIN);
            std::uint64_t one;
            checked(static_cast<int>(::read(signals_.get(), &one, sizeof one)), "eventfd");
            return;
        }
        case PeerScript::Kind::notifyTest:
            return addNotice();
        case PeerScript::Kind::expectClose:
            expectEnd(connection.get(), false);
            return connection.close();
        case PeerScript::Kind::close:
            failOnUnreadBytes(connection.get());
            return connection.close();
        case PeerScript::Kind::reset: {
            failOnUnreadBytes(connection.get());
            const linger hard{1, 0};
            checked(::setsockopt(connection.get(), SOL_SOCKET, SO_LINGER, &hard, sizeof hard), "SO_LINGER");
            return connection.close();
        }
    }
}

void ScriptedPeer::expectBytes(const std::string& bytes, int connection) {
    std::string got;
    char buffer[4096];
    while (got.size() < bytes.size()) {
        const Wait wait = waitFor(connection, POLLIN, false);
        if (wait == Wait::abandoned) throw Abandoned{};
        if (wait == Wait::timedOut) throw Abandoned{"nothing more came after " + printable(got)};
        const ssize_t count = ::recv(connection, buffer, std::min(sizeof buffer, bytes.size() - got.size()), 0);
        if (count <= 0) throw Abandoned{"the connection ended after " + printable(got)};
        got.append(buffer, static_cast<std::size_t>(count));
        if (bytes.compare(0, got.size(), got) != 0) throw Abandoned{"got " + printable(got)};
    }
}

void ScriptedPeer::sendBytes(const std::string& bytes, int connection) {
    for (std::size_t sent = 0; sent < bytes.size();) {
        waitOrAbandon(connection, POLLOUT);
        const ssize_t count = ::send(connection, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count < 0 && errno != EAGAIN) throw Abandoned{std::string("cannot send: ") + std::strerror(errno)};
        if (count > 0) sent += static_cast<std::size_t>(count);
    }
}

void ScriptedPeer::expectEnd(int connection, bool untilFinish) {
    const Wait wait = waitFor(connection, POLLIN, untilFinish);
    if (wait == Wait::finishing) return;
    if (wait == Wait::abandoned) throw Abandoned{};
    if (wait == Wait::timedOut) throw Abandoned{"the other side did not end the connection"};
    failOnUnreadBytes(connection);
}

void ScriptedPeer::failOnUnreadBytes(int connection) {
    char buffer[4096];
    const ssize_t count = ::recv(connection, buffer, sizeof buffer, MSG_DONTWAIT);
    if (count > 0) throw Abandoned{"unexpected " + printable(std::string(buffer, static_cast<std::size_t>(count)))};
}

ScriptedPeer::Wait ScriptedPeer::waitFor(int descriptor, short events, bool untilFinish) const {
    // A descriptor below 0 is left out by poll.
    pollfd polled[] = {
        {descriptor, events, 0}, {abandoned_.get(), POLLIN, 0}, {untilFinish ? finishing_.get() : -1, POLLIN, 0}};
    const auto limit = std::chrono::duration_cast<std::chrono::milliseconds>(longestWait);
    const int count = checked(::poll(polled, 3, untilFinish ? -1 : static_cast<int>(limit.count())), "poll");
    if (count == 0) return Wait::timedOut;
    if (polled[1].revents != 0) return Wait::abandoned;
    return polled[0].revents != 0 ? Wait::ready : Wait::finishing;
}

void ScriptedPeer::waitOrAbandon(int descriptor, short events) const {
    const Wait wait = waitFor(descriptor, events, false);
    if (wait == Wait::abandoned) throw Abandoned{};
    if (wait == Wait::timedOut) throw Abandoned{"still waiting after 30 seconds"};
}

RefusingPort::RefusingPort() {
    // Bound but not listening: nobody else gets the port, and every connection to it is refused.
    std::tie(descriptor_, port_) = boundSocket();
}

RefusingPort::~RefusingPort() {
    ::close(descriptor_);
}

}  // namespace velmora::test
