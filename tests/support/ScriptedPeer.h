// A TCP peer that fails its test on every byte that differs from its script or is missing.
#pragma once

#include <chrono>
#include <optional>
#include <semaphore>
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
    PeerScript& then(const PeerScript& other, std::size_t times = 1);

  private:
    friend class ScriptedPeer;
    enum class Kind { expect, send, waitForSignal, notifyTest, expectClose, close };
    struct Step {
        Kind kind;
        std::string bytes;
    };
    PeerScript& add(Kind kind, std::string bytes = {});

    std::vector<Step> steps_;
};

// signal() and waitForNotice() from any thread. No step waits longer than 30 seconds.
class ScriptedPeer {
  public:
    // One connection for each script, one after the other; any further connection fails the test.
    explicit ScriptedPeer(std::vector<PeerScript> scripts);
    explicit ScriptedPeer(PeerScript script) : ScriptedPeer(std::vector{std::move(script)}) {}
    // Waits until the scripts have ended, and fails the test if anything differed from them.
    ~ScriptedPeer();

    std::uint16_t port() const { return listener_.port(); }
    // Lets one waitForSignal() pass, now or when the script gets there.
    void signal() { signals_.release(); }
    // False when no notifyTest() is reached within 30 seconds.
    bool waitForNotice() { return notices_.try_acquire_for(limit); }

  private:
    static constexpr std::chrono::seconds limit{30};

    void serve();
    void runStep(const PeerScript::Step& step);
    void expectNothing(int flags);

    const std::vector<PeerScript> scripts_;
    const ListeningPort listener_;
    std::counting_semaphore<> signals_{0};
    std::counting_semaphore<> notices_{0};
    std::optional<Socket> connection_;  // like failure_, belongs to the thread until it has ended
    std::string failure_;
    std::thread thread_;
};

}  // namespace velmora::test
