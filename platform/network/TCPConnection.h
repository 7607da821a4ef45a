// One TCP connection behind the two halves of a stream pair: finds its peer, connects, and turns readiness into stream
// events.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/network/NSStream.h"
#include "platform/threads/AtomicReference.h"
#include "platform/threads/NSRunLoop.h"
#include "platform/threads/ThreadAnnotations.h"

namespace velmora {

// Thread rules as in NSStream.h. The descriptor stays open until the connection is released, so that no call on another
// thread ever meets a descriptor number that means something else by now; the peer sees the end as soon as both halves
// are closed.
class TCPConnection final : public RunLoopSource, public std::enable_shared_from_this<TCPConnection> {
  public:
    TCPConnection(EndpointProvider provider, EndObserver observer);
    ~TCPConnection() override;

    using Half = NSStream::Half;
    // The pair that the events go to.
    void setStreams(const NSStreamPair& streams);
    void setDelegate(Half half, NSStreamDelegate* delegate);
    void schedule(const std::shared_ptr<NSRunLoop>& runLoop, const char* mode);
    void unschedule(const std::shared_ptr<NSRunLoop>& runLoop, const char* mode);
    void open();
    void noteFailure() { ownerNotedFailure_ = true; }
    void close(Half half);

    std::int64_t read(std::span<std::uint8_t> buffer);
    std::int64_t write(std::span<const std::uint8_t> bytes);
    bool hasSpaceAvailable();
    std::string failureReason() const;

    void descriptorReady(std::uint32_t events) override;
    void loopHasRunWork() override;
    std::optional<Date> deadline() override { return attemptDeadline_; }
    void deadlineReached() override;

  private:
    enum class Phase { idle, locating, connecting, established, over };
    struct HalfState {
        std::weak_ptr<NSStream> stream;
        NSStreamDelegate* delegate = nullptr;
        bool closed = false;
    };
    enum class Unread { some, none, end, failure };

    HalfState& half(Half which) REQUIRES(mutex_) { return halves_[which == Half::input ? 0 : 1]; }
    bool isPhase(Phase phase) const { return phase_ == phase; }
    void connectToNextAddress();
    bool beginConnecting(const SocketAddress& address);
    void finishConnecting();
    bool isFirstTurn() const { return nextAddress_ <= firstTurns_; }
    void giveUpAttempt();
    // Offers unread bytes to the input half until there are none or it declines. Given what is known to be unread.
    void offerBytes(Unread unread);
    Unread lookForBytes();
    void fail();
    void finish(NSStreamEvent event);
    void deliver(Half which, NSStreamEvent event);

    Mutex mutex_;
    const EndpointProvider provider_;
    const EndObserver observer_;
    std::array<HalfState, 2> halves_ GUARDED_BY(mutex_);
    AtomicReference<NSRunLoop> runLoop_;  // none before it is scheduled, and after its end
    int descriptor_ GUARDED_BY(mutex_) = -1;
    // These two are changed under the mutex; a plain look needs none.
    std::atomic<Phase> phase_ = Phase::idle;
    // The kernel's send buffer had no space for everything at the last write.
    std::atomic<bool> wasFull_ = false;

    std::atomic<bool> failed_ = false;
    std::atomic<bool> ownerNotedFailure_ = false;
    // The bytes that were offered last were not read, read with more that may be there, or read to the last one.
    enum class LastRead { none, full, partial };
    std::atomic<LastRead> lastRead_ = LastRead::none;
    // The system's number of what went wrong last; 0 for nothing.
    std::atomic<int> error_ = 0;

    // The run loop's thread only.
    std::vector<SocketAddress> addresses_;
    std::size_t nextAddress_ = 0;
    std::size_t firstTurns_ = 0;  // how many of them, from the first on, have a short turn
    std::optional<Date> attemptDeadline_;
    bool mayHaveBytes_ = false;
    bool peerHasEnded_ = false;
};

}  // namespace velmora
