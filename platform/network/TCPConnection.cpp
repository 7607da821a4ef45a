#include "platform/network/TCPConnection.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/epoll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

#include "platform/foundation/NSLog.h"
#include "platform/threads/NSThread.h"

namespace velmora {

namespace {

// A peer that has vanished, in the seconds that the system takes: the first probe after 20 s of silence, then one every
// 10 s. Bytes that are not acknowledged have the same limit.
constexpr int kKeepAliveIdle = 20;
constexpr int kKeepAliveInterval = 10;
constexpr int kKeepAliveProbes = 4;
static_assert(std::chrono::seconds(kKeepAliveIdle + kKeepAliveInterval * kKeepAliveProbes) == kVanishedPeerTimeout);

// A writer that waits for space sees within this time that the connection was closed or its thread cancelled.
constexpr std::chrono::milliseconds kCancellationPeriod{200};

// How often in one turn of the loop unread bytes are offered to the delegate.
constexpr int kOffersPerTurn = 16;

void setOption(int descriptor, int level, int option, int value) {
    setsockopt(descriptor, level, option, &value, sizeof value);
}

int makeSocket(int family) {
    const int descriptor = socket(family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (descriptor < 0) return descriptor;
    setOption(descriptor, IPPROTO_TCP, TCP_NODELAY, 1);
    setOption(descriptor, SOL_SOCKET, SO_KEEPALIVE, 1);
    setOption(descriptor, IPPROTO_TCP, TCP_KEEPIDLE, kKeepAliveIdle);
    setOption(descriptor, IPPROTO_TCP, TCP_KEEPINTVL, kKeepAliveInterval);
    setOption(descriptor, IPPROTO_TCP, TCP_KEEPCNT, kKeepAliveProbes);
    setOption(descriptor, IPPROTO_TCP, TCP_USER_TIMEOUT,
              static_cast<int>(std::chrono::milliseconds(kVanishedPeerTimeout).count()));
    return descriptor;
}

}  // namespace

TCPConnection::TCPConnection(EndpointProvider provider, EndObserver observer)
    : provider_(std::move(provider)), observer_(std::move(observer)) {}

TCPConnection::~TCPConnection() {
    MutexLock lock(mutex_);
    if (descriptor_ >= 0) ::close(descriptor_);
}

void TCPConnection::setStreams(const NSStreamPair& streams) {
    MutexLock lock(mutex_);
    half(Half::input).stream = streams.input;
    half(Half::output).stream = streams.output;
}

void TCPConnection::setDelegate(Half which, NSStreamDelegate* delegate) {
    MutexLock lock(mutex_);
    half(which).delegate = delegate;
}

void TCPConnection::schedule(const std::shared_ptr<NSRunLoop>& runLoop, const char* mode) {
    runLoop_.store(runLoop);
    runLoop->addSourceForMode(shared_from_this(), mode);
}

void TCPConnection::unschedule(const std::shared_ptr<NSRunLoop>& runLoop, const char* mode) {
    runLoop->removeSourceForMode(shared_from_this(), mode);
}

void TCPConnection::open() {
    const auto runLoop = runLoop_.load();
    {
        MutexLock lock(mutex_);
        if (phase_ != Phase::idle || runLoop == nullptr) return;
        phase_ = Phase::locating;
    }
    provider_([weak = weak_from_this(), runLoop](std::vector<SocketAddress> addresses) {
        runLoop->perform([weak, addresses = std::move(addresses)]() mutable {
            const auto self = weak.lock();
            if (self == nullptr || !self->isPhase(Phase::locating)) return;
            self->addresses_ = std::move(addresses);
            self->firstTurns_ = self->addresses_.size() > 1 ? self->addresses_.size() : 0;
            self->connectToNextAddress();
        });
    });
}

void TCPConnection::close(Half which) {
    Phase before = Phase::idle;
    {
        MutexLock lock(mutex_);
        half(which).closed = true;
        if (!half(Half::input).closed || !half(Half::output).closed) return;
        before = phase_.exchange(Phase::over);
        if (descriptor_ >= 0) shutdown(descriptor_, SHUT_RDWR);
    }
    const auto runLoop = runLoop_.exchange(nullptr);
    if (runLoop != nullptr) runLoop->forgetDescriptor(shared_from_this());
    if (before != Phase::idle && before != Phase::over && observer_ != nullptr) observer_(ownerNotedFailure_);
}

void TCPConnection::connectToNextAddress() {
    while (nextAddress_ < addresses_.size()) {
        if (beginConnecting(addresses_[nextAddress_++])) return;
    }
    fail();
}

bool TCPConnection::beginConnecting(const SocketAddress& address) {
    const int descriptor = makeSocket(address.family());
    if (descriptor < 0 || (connect(descriptor, address.get(), address.length()) != 0 && errno != EINPROGRESS)) {
        error_ = errno;
        if (descriptor >= 0) ::close(descriptor);
        return false;
    }
    const auto runLoop = runLoop_.load();  // there is one until the connection is over
    {
        MutexLock lock(mutex_);
        if (phase_ == Phase::over) {
            ::close(descriptor);
            return true;
        }
        phase_ = Phase::connecting;
        descriptor_ = descriptor;
    }
    attemptDeadline_ =
        fromNow(isFirstTurn() ? std::min(kFirstTurnTimeout, kFirstTurnsTimeout / static_cast<double>(firstTurns_))
                              : kConnectTimeout);
    // Success is told as an edge, also when it has come already.
    runLoop->watchDescriptor(shared_from_this(), descriptor);
    return true;
}

void TCPConnection::giveUpAttempt() {
    attemptDeadline_.reset();
    const auto runLoop = runLoop_.load();
    if (!isPhase(Phase::connecting) || runLoop == nullptr) return;
    runLoop->forgetDescriptor(shared_from_this());
    {
        MutexLock lock(mutex_);
        if (phase_ != Phase::connecting) return;
        ::close(std::exchange(descriptor_, -1));
        phase_ = Phase::locating;
    }
    connectToNextAddress();
}

void TCPConnection::finishConnecting() {
    int error = 0;
    {
        MutexLock lock(mutex_);
        if (phase_ != Phase::connecting) return;
        socklen_t length = sizeof error;
        getsockopt(descriptor_, SOL_SOCKET, SO_ERROR, &error, &length);
        if (error == 0) phase_ = Phase::established;
    }
    if (error != 0) {
        error_ = error;
        giveUpAttempt();
        return;
    }
    attemptDeadline_.reset();
    deliver(Half::input, NSStreamEventOpenCompleted);
    deliver(Half::output, NSStreamEventOpenCompleted);
    deliver(Half::output, NSStreamEventHasSpaceAvailable);
}

void TCPConnection::descriptorReady(std::uint32_t events) {
    if (isPhase(Phase::connecting) && (events & (EPOLLOUT | EPOLLERR | EPOLLHUP)) != 0) finishConnecting();
    if (!isPhase(Phase::established)) return;
    bool wasFull = false;
    {
        MutexLock lock(mutex_);
        if ((events & EPOLLOUT) != 0) wasFull = wasFull_.exchange(false);
    }
    if (wasFull) deliver(Half::output, NSStreamEventHasSpaceAvailable);
    if ((events & (EPOLLRDHUP | EPOLLERR | EPOLLHUP)) != 0) peerHasEnded_ = true;
    if ((events & EPOLLIN) != 0) mayHaveBytes_ = true;
    // An edge without an end of the stream is bytes, or the very moment of an end that is told next; everything else
    // has to be looked at.
    const bool certain = (events & EPOLLIN) != 0 && !peerHasEnded_;
    if (mayHaveBytes_ || peerHasEnded_) offerBytes(certain ? Unread::some : lookForBytes());
}

void TCPConnection::loopHasRunWork() {
    if (failed_.exchange(false)) {
        fail();
    } else if (mayHaveBytes_) {
        offerBytes(lookForBytes());
    }
}

void TCPConnection::deadlineReached() {
    error_ = ETIMEDOUT;
    if (isFirstTurn()) addresses_.push_back(addresses_[nextAddress_ - 1]);
    giveUpAttempt();
}

TCPConnection::Unread TCPConnection::lookForBytes() {
    MutexLock lock(mutex_);
    if (phase_ != Phase::established) return Unread::none;
    std::uint8_t byte = 0;
    const auto count = recv(descriptor_, &byte, 1, MSG_PEEK | MSG_DONTWAIT);
    if (count > 0) return Unread::some;
    if (count == 0) return Unread::end;
    if (errno == EAGAIN || errno == EINTR) return Unread::none;
    error_ = errno;
    return Unread::failure;
}

void TCPConnection::offerBytes(Unread unread) {
    // Bounded, so that a peer that sends without end does not keep the loop from its other work.
    for (int offers = 0; offers < kOffersPerTurn; ++offers, unread = lookForBytes()) {
        switch (unread) {
            case Unread::none:
                mayHaveBytes_ = false;
                return;
            case Unread::end:
                finish(NSStreamEventEndEncountered);
                return;
            case Unread::failure:
                fail();
                return;
            case Unread::some:
                break;
        }
        lastRead_ = LastRead::none;
        deliver(Half::input, NSStreamEventHasBytesAvailable);
        if (!isPhase(Phase::established)) return;
        const LastRead last = lastRead_;
        if (last == LastRead::full || (last == LastRead::partial && peerHasEnded_)) continue;
        if (last == LastRead::partial) {
            mayHaveBytes_ = false;  // what comes from now on is told as a new edge
            return;
        }
        // Nobody wants these bytes now. They wait in the kernel; when the peer has ended, nothing will ever be sent to
        // be answered by them.
        mayHaveBytes_ = true;
        if (peerHasEnded_) finish(NSStreamEventEndEncountered);
        return;
    }
    mayHaveBytes_ = true;
    if (const auto runLoop = runLoop_.load()) runLoop->perform([] {});
}

void TCPConnection::fail() {
    if (isPhase(Phase::over)) return;
    NSLog("Connection failed: %@", failureReason());
    finish(NSStreamEventErrorOccurred);
}

std::string TCPConnection::failureReason() const {
    const int error = error_;
    return error != 0 ? std::system_category().message(error) : "No address was found";
}

void TCPConnection::finish(NSStreamEvent event) {
    {
        MutexLock lock(mutex_);
        if (phase_ == Phase::over) return;
        phase_ = Phase::over;
    }
    attemptDeadline_.reset();
    mayHaveBytes_ = false;
    if (const auto runLoop = runLoop_.load()) runLoop->forgetDescriptor(shared_from_this());
    if (observer_ != nullptr) observer_(true);
    deliver(Half::input, event);
    deliver(Half::output, event);
}

void TCPConnection::deliver(Half which, NSStreamEvent event) {
    std::shared_ptr<NSStream> stream;
    NSStreamDelegate* delegate = nullptr;
    {
        MutexLock lock(mutex_);
        stream = half(which).stream.lock();
        delegate = half(which).delegate;
    }
    if (stream == nullptr || delegate == nullptr) return;
    delegate->streamHandleEvent(stream, event);
}

std::int64_t TCPConnection::read(std::span<std::uint8_t> buffer) {
    MutexLock lock(mutex_);
    if (phase_ != Phase::established) return -1;
    const auto count = recv(descriptor_, buffer.data(), buffer.size(), MSG_DONTWAIT);
    lastRead_ = count == static_cast<std::int64_t>(buffer.size()) ? LastRead::full : LastRead::partial;
    return count;
}

bool TCPConnection::hasSpaceAvailable() {
    if (!isPhase(Phase::established) || failed_) return false;
    // The kernel has space until it says that it has none.
    if (!wasFull_) return true;
    MutexLock lock(mutex_);
    pollfd space{descriptor_, POLLOUT, 0};
    wasFull_ = poll(&space, 1, 0) != 1 || (space.revents & POLLOUT) == 0;
    return !wasFull_;
}

std::int64_t TCPConnection::write(std::span<const std::uint8_t> bytes) {
    const auto all = static_cast<std::int64_t>(bytes.size());
    if (all == 0) return 0;  // there would always be space for them, and never a byte sent
    while (true) {
        pollfd space{-1, POLLOUT, 0};
        {
            MutexLock lock(mutex_);
            if (phase_ != Phase::established || failed_ || NSThread::currentThreadIsCancelled()) return all;
            const auto count = send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
            if (count > 0) {
                wasFull_ = count < all;
                return count;
            }
            if (count < 0 && errno != EAGAIN && errno != EINTR) {
                error_ = errno;  // before the mark, which is looked at without the mutex
                failed_ = true;
            } else {
                wasFull_ = true;
                space.fd = descriptor_;
            }
        }
        if (space.fd < 0) {
            // The error event comes from the loop, which looks at its sources after it has run work.
            if (const auto runLoop = runLoop_.load()) runLoop->perform([] {});
            return all;
        }
        poll(&space, 1, static_cast<int>(kCancellationPeriod.count()));
    }
}

}  // namespace velmora
