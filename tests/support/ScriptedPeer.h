// A TCP peer that follows a script and fails the test that owns it on every byte that is not in the script, or is
// missing from it.
//
//     ScriptedPeer peer(PeerScript().exchange("MATRIXSIZE", "16x8").expect("GET 1\n\r").notifyTest().close());
//     ... connect to 127.0.0.1, peer.port(), let the code under test talk ...
//     peer.finish();  // or leave it to the destructor
//
// The peer runs on its own thread. Scripts are plain values: they can be copied, joined with then() and kept in tables.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "platform/threads/ThreadAnnotations.h"

namespace velmora::test {

// What the peer does on one connection, step by step. Behind the last step every further byte is unexpected.
class PeerScript {
  public:
    // Exactly these bytes arrive, however they are cut into segments.
    PeerScript& expect(std::string bytes) { return add(Kind::expect, std::move(bytes)); }
    // Sent in one write, without waiting for anything (TCP_NODELAY).
    PeerScript& send(std::string bytes) { return add(Kind::send, std::move(bytes)); }
    // A write of its own for each piece. What the other side reads at once is up to it: where every piece must be read
    // on its own, put waitForSignal() between sends and let the test signal when the piece has been read.
    PeerScript& sendInPieces(std::string_view bytes, std::size_t pieceSize);
    // One command line (LF CR is added) and its reply line (CR LF is added).
    PeerScript& exchange(std::string_view command, std::string_view reply);
    // Nothing is read or sent until the test has called signal() once more.
    PeerScript& waitForSignal() { return add(Kind::waitForSignal); }
    // Lets the test know that the script has come this far: notices() and waitForNotice().
    PeerScript& notifyTest() { return add(Kind::notifyTest); }
    // The other side ends the connection, in order or by a reset, before any further byte.
    PeerScript& expectClose() { return add(Kind::expectClose); }
    // Ends the connection in order, or by a reset. Must be the last step.
    PeerScript& close() { return add(Kind::close); }
    PeerScript& reset() { return add(Kind::reset); }
    // Appends the steps of another script, so many times.
    PeerScript& then(const PeerScript& other, std::size_t times = 1);

  private:
    friend class ScriptedPeer;
    enum class Kind { expect, send, waitForSignal, notifyTest, expectClose, close, reset };
    struct Step {
        Kind kind;
        std::string bytes;
    };
    PeerScript& add(Kind kind, std::string bytes = {});
    static std::string describe(const Step& step);

    std::vector<Step> steps_;
};

// Made and finished on the test's thread; signal(), notices() and waitForNotice() from any thread. No wait is longer
// than 30 seconds.
class ScriptedPeer {
  public:
    // Listens on a free port of 127.0.0.1 from here on and serves one connection.
    explicit ScriptedPeer(PeerScript script);
    // One connection for each script, one after the other; a connection more than there are scripts fails the test.
    explicit ScriptedPeer(std::vector<PeerScript> scripts);
    ScriptedPeer(const ScriptedPeer&) = delete;
    ScriptedPeer& operator=(const ScriptedPeer&) = delete;
    ~ScriptedPeer();

    std::uint16_t port() const { return port_; }

    // Lets one waitForSignal() pass, now or when the script gets there.
    void signal();
    // The number of notifyTest() steps that the scripts have passed.
    int notices() const EXCLUDES(mutex_);
    // Blocks until there are so many; false when the scripts end or fail before, or after 30 seconds.
    bool waitForNotice(int count = 1) const EXCLUDES(mutex_);

    // Waits until the scripts have ended, closes a connection that is still open behind its last step, and adds one
    // test failure for each thing that was not as the scripts say. After a fatal failure of the test it does not wait.
    // Later calls do nothing.
    void finish();

  private:
    // Why a script ended early; empty texts are no failures.
    struct Abandoned {
        std::string reason;
    };
    class Descriptor {
      public:
        explicit Descriptor(int number) : number_(number) {}
        Descriptor(const Descriptor&) = delete;
        Descriptor& operator=(const Descriptor&) = delete;
        ~Descriptor() { close(); }
        int get() const { return number_; }
        void close();

      private:
        int number_;
    };
    enum class Wait { ready, finishing, abandoned, timedOut };

    void serve();
    void runScript(std::size_t index, Descriptor& connection);
    void runStep(const PeerScript::Step& step, Descriptor& connection);
    void expectBytes(const std::string& bytes, int connection);
    void sendBytes(const std::string& bytes, int connection);
    void expectEnd(int connection, bool untilFinish);
    void failOnUnreadBytes(int connection);
    Wait waitFor(int descriptor, short events, bool untilFinish) const;
    void waitOrAbandon(int descriptor, short events) const;
    void addFailure(std::string text) EXCLUDES(mutex_);
    void addNotice() EXCLUDES(mutex_);
    void endNotices() EXCLUDES(mutex_);

    const std::vector<PeerScript> scripts_;
    std::uint16_t port_ = 0;
    Descriptor listener_;
    Descriptor signals_;    // a semaphore: one count for each signal()
    Descriptor finishing_;  // readable once finish() has been called
    Descriptor abandoned_;  // readable once nothing shall be waited for
    mutable Mutex mutex_;
    mutable std::condition_variable_any changed_;
    int notices_ GUARDED_BY(mutex_) = 0;
    bool noticesEnded_ GUARDED_BY(mutex_) = false;
    std::vector<std::string> failures_ GUARDED_BY(mutex_);
    std::thread thread_;
};

// A port of 127.0.0.1 that refuses every connection for as long as this lives.
class RefusingPort {
  public:
    RefusingPort();
    RefusingPort(const RefusingPort&) = delete;
    RefusingPort& operator=(const RefusingPort&) = delete;
    ~RefusingPort();
    std::uint16_t port() const { return port_; }

  private:
    int descriptor_;
    std::uint16_t port_;
};

}  // namespace velmora::test
