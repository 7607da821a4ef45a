// A TCP peer that fails its test on every byte that differs from its script or is missing.
#pragma once

#include <cerrno>
#include <chrono>
#include <optional>
#include <semaphore>
#include <stdexcept>
#include <thread>
#include <vector>

#include "tests/support/Sockets.h"

namespace velmora::test {

// The peer's actions on one connection, step by step; a value. After the last step every further byte is unexpected.
class PeerScript {
  public:
    // Expects exactly these bytes, however they are cut into segments.
    PeerScript& expect(std::string bytes) { return add(Kind::expect, std::move(bytes)); }
    // Sends the bytes in a separate write.
    PeerScript& send(std::string bytes) { return add(Kind::send, std::move(bytes)); }
    // Expects one command line (LF CR is added) and sends its reply line (CR LF is added).
    PeerScript& exchange(const std::string& command, const std::string& reply) {
        return expect(command + "\n\r").send(reply + "\r\n");
    }
    // Reads and sends nothing until the test has called signal() again.
    PeerScript& waitForSignal() { return add(Kind::waitForSignal); }
    // Lets one waitForNotice() of the test pass.
    PeerScript& notifyTest() { return add(Kind::notifyTest); }
    // Expects the other side to end the connection, cleanly or by a reset, before any further byte.
    PeerScript& expectClose() { return add(Kind::expectClose); }
    // Ends the connection. Must be the last step.
    PeerScript& close() { return add(Kind::close); }
    // Appends the steps of another script, this many times.
    PeerScript& then(const PeerScript& other, std::size_t times = 1) {
        for (std::size_t i = 0; i < times; ++i) {
            steps_.insert(steps_.end(), other.steps_.begin(), other.steps_.end());
        }
        return *this;
    }

  private:
    friend class ScriptedPeer;
    enum class Kind { expect, send, waitForSignal, notifyTest, expectClose, close };
    struct Step {
        Kind kind;
        std::string bytes;
    };
    PeerScript& add(Kind kind, std::string bytes = {}) {
        steps_.push_back({kind, std::move(bytes)});
        return *this;
    }

    std::vector<Step> steps_;
};

// signal() and waitForNotice() from any thread. No step waits longer than 30 seconds.
class ScriptedPeer {
  public:
    // One connection for each script, one after the other; any further connection fails the test.
    explicit ScriptedPeer(std::vector<PeerScript> scripts)
        : scripts_(std::move(scripts)), thread_([this] { serve(); }) {}
    explicit ScriptedPeer(PeerScript script) : ScriptedPeer(std::vector{std::move(script)}) {}
    // Waits until the scripts have ended, and fails the test if anything differed from them.
    ~ScriptedPeer() {
        thread_.join();
        try {
            if (connection_) expectNothing(MSG_DONTWAIT);
            require(!failure_.empty() || !listener_.hasConnection(), "a connection more than the scripts know");
        } catch (const std::runtime_error& error) {
            failure_ = std::string("after the last step: ") + error.what();
        }
        if (!failure_.empty()) ADD_FAILURE() << "scripted peer, " << failure_;
    }

    std::uint16_t port() const { return listener_.port(); }
    // Lets one waitForSignal() pass, now or when the script gets there.
    void signal() { signals_.release(); }
    // False when no notifyTest() is reached within 30 seconds.
    bool waitForNotice() { return notices_.try_acquire_for(limit); }

  private:
    static constexpr std::chrono::seconds limit{30};

    static std::string printable(const std::string& bytes) {
        constexpr std::size_t most = 200;
        return testing::PrintToString(bytes.substr(0, most)) + (bytes.size() > most ? "..." : "");
    }
    static void require(bool condition, const std::string& otherwise) {
        if (!condition) throw std::runtime_error(otherwise);
    }
    void serve() {
        for (std::size_t i = 0; i < scripts_.size(); ++i) {
            std::size_t step = 0;
            try {
                const int accepted = listener_.accept();
                require(accepted >= 0, "was never made");
                connection_.emplace(accepted);
                for (; step < scripts_[i].steps_.size(); ++step) {
                    runStep(scripts_[i].steps_[step]);
                }
                if (connection_ && i + 1 < scripts_.size()) expectNothing(0);
            } catch (const std::runtime_error& error) {
                failure_ =
                    "connection " + std::to_string(i + 1) + ", step " + std::to_string(step + 1) + ": " + error.what();
                connection_.reset();
                return;
            }
        }
    }
    void runStep(const PeerScript::Step& step) {
        using enum PeerScript::Kind;
        switch (step.kind) {
            case expect: {
                const std::string got = connection_->receive(step.bytes.size());
                return require(got == step.bytes, "got " + printable(got) + " for " + printable(step.bytes));
            }
            case send:
                return require(connection_->send(step.bytes), "cannot send " + printable(step.bytes));
            case waitForSignal:
                return require(signals_.try_acquire_for(limit), "the test gave no signal");
            case notifyTest:
                return notices_.release();
            case expectClose:
            case close:
                expectNothing(step.kind == close ? MSG_DONTWAIT : 0);
                return connection_.reset();
        }
    }
    // With the flag for not waiting, the connection need not have ended.
    void expectNothing(int flags) {
        errno = 0;
        const std::string rest = connection_->receive(4096, flags);
        require(rest.empty(), "unexpected " + printable(rest));
        require(errno != EAGAIN || flags != 0, "the other side did not end the connection");
    }

    const std::vector<PeerScript> scripts_;
    const ListeningPort listener_;
    std::counting_semaphore<> signals_{0};
    std::counting_semaphore<> notices_{0};
    std::optional<Socket> connection_;  // like failure_, belongs to the thread until it has ended
    std::string failure_;
    std::thread thread_;
};

}  // namespace velmora::test
