// The connection: starting, the communications thread, stream events and closing. Commands and replies are in
// SwitchTelnetControllerQueue.cpp.
#include "transport/SwitchTelnetController.h"

#include <array>
#include <utility>

#include "platform/foundation/NSLog.h"
#include "platform/foundation/NSNotificationCenter.h"
#include "platform/network/NSHost.h"
#include "transport/NSNotificationCenterAdditions.h"

namespace velmora {

namespace {

constexpr std::array kStreamModes{NSDefaultRunLoopMode, NSEventTrackingRunLoopMode, NSModalPanelRunLoopMode};

}  // namespace

SwitchTelnetController::SwitchTelnetController(TelnetTimeLimits limits) : limits_(limits) {}

void SwitchTelnetController::setIsConnected(bool isConnected) {
    isConnected_ = isConnected;
    if (isConnected) isTryingToConnect_ = false;
}

TelnetConnectionEnd SwitchTelnetController::connectionEnd() const {
    MutexLock lock(stateMutex_);
    return end_;
}

void SwitchTelnetController::setConnectionEnd(TelnetConnectionEnd::Cause cause, std::string reason) {
    end_ = {cause, std::move(reason), isConnected(), std::chrono::steady_clock::now(),
            std::chrono::system_clock::now()};
}

void SwitchTelnetController::startConnectionWithHostAddressPort(const std::string& address, std::uint64_t port) {
    if (claimThread()) startConnection(getStreamsToHostPort(NSHost::hostWithName(address), port));
}

void SwitchTelnetController::startConnectionWithNetService(const std::shared_ptr<NSNetService>& service) {
    if (!claimThread()) return;
    if (service == nullptr) {
        NSLog("netservice nil");
        communicationsThreadIsRunning_ = false;
        return;
    }
    startConnection(service->getInputStreamOutputStream());
}

// Marks the thread as running before it is made, so that of two starts at once only one goes on. A thread may have
// ended before those who close its connection are done; they would clear the streams of a new one.
bool SwitchTelnetController::claimThread() {
    {
        MutexLock lock(stateMutex_);
        if (!closing_ && !communicationsThreadIsRunning_.exchange(true)) {
            end_ = {};
            return true;
        }
    }
    refuseStart();
    return false;
}

void SwitchTelnetController::refuseStart() {
    NSNotificationCenterAdditions::postNotificationOnMainThreadWithNameObject(NSNotificationCenter::defaultCenter(),
                                                                              "nodeConnectionDidNotOpen", delegate());
}

void SwitchTelnetController::failStart(std::string reason) {
    {
        MutexLock lock(stateMutex_);
        streams_ = {};
        communicationsThread_ = nullptr;
        isTryingToConnect_ = false;
        setConnectionEnd(TelnetConnectionEnd::Cause::failure, std::move(reason));
        communicationsThreadIsRunning_ = false;
    }
    refuseStart();
}

void SwitchTelnetController::startConnection(const std::optional<NSStreamPair>& streams) {
    if (!streams) {
        failStart("There is nowhere to connect to");
        return;
    }
    streams->input->setDelegate(this);
    streams->output->setDelegate(this);
    isTryingToConnect_ = true;
    const auto thread = std::make_shared<NSThread>([self = self()] { self->startCommunicationsThread(); });
    {
        MutexLock lock(stateMutex_);
        streams_ = *streams;
        communicationsThread_ = thread;
    }
    if (thread->start()) return;
    NSLog("A thread could not be started");
    failStart("No thread could be started for the connection");
}

void SwitchTelnetController::startCommunicationsThread() {
    const auto loop = NSRunLoop::currentRunLoop();
    runLoop_.store(loop);
    openStreams();
    while (!NSThread::currentThreadIsCancelled()) {
        loop->runModeUntilDate(NSDefaultRunLoopMode, fromNow(limits_.runLoopPeriod));
    }
    // Nobody is left to give the signal back: it must not stay taken beyond the connection that it was taken for.
    unlockMutex();
    runLoop_.store(nullptr);
    communicationsThreadIsRunning_ = false;
}

NSStreamPair SwitchTelnetController::streams() const {
    MutexLock lock(stateMutex_);
    return streams_;
}

void SwitchTelnetController::openStreams() {
    const auto [input, output] = streams();
    if (input == nullptr) return;  // closed before the thread came to run
    for (const char* mode : kStreamModes) {
        input->scheduleInRunLoopForMode(runLoop(), mode);
        output->scheduleInRunLoopForMode(runLoop(), mode);
    }
    input->open();
    output->open();
}

bool SwitchTelnetController::isCurrentStream(const std::shared_ptr<NSStream>& stream) const {
    MutexLock lock(stateMutex_);
    return !closing_ && (stream == streams_.input || stream == streams_.output);
}

void SwitchTelnetController::streamHandleEvent(const std::shared_ptr<NSStream>& stream, NSStreamEvent event) {
    if (!isCurrentStream(stream)) return;
    switch (event) {
        case NSStreamEventHasBytesAvailable:
            bytesAvailable(static_cast<NSInputStream&>(*stream));  // told of this half only
            break;
        case NSStreamEventHasSpaceAvailable:
            firstSpaceAvailable(stream);
            break;
        case NSStreamEventErrorOccurred:
            errorOccurred(stream->failureReason());
            break;
        case NSStreamEventEndEncountered:
            NSLog("NSStreamEventEndEncountered");
            closeStreams(TelnetConnectionEnd::Cause::peer, "The server ended the connection");
            break;
        case NSStreamEventOpenCompleted:
            break;
    }
}

void SwitchTelnetController::firstSpaceAvailable(const std::shared_ptr<NSStream>& stream) {
    {
        MutexLock lock(stateMutex_);
        if (outputStreamReady_) return;
    }
    sendNextCommand();
    MutexLock lock(stateMutex_);
    if (closing_ || stream != streams_.output) return;  // another thread has closed it meanwhile
    outputStreamReady_ = true;
    setIsConnected(true);
    // Last, so that the delegate finds the connection connected; under the mutex, so that its end is not told before.
    tellDelegate(&SwitchTelnetControllerDelegate::nodeConnectionDidOpen);
}

void SwitchTelnetController::errorOccurred(const std::string& reason) {
    if (!isConnected() && isTryingToConnect()) {
        setIsTryingToConnect(false);
        tellDelegate(&SwitchTelnetControllerDelegate::nodeConnectionDidNotOpen);
    }
    closeStreams(TelnetConnectionEnd::Cause::failure, reason);
}

void SwitchTelnetController::tellDelegate(void (SwitchTelnetControllerDelegate::*callback)(SwitchTelnetController&)) {
    MainThread::performLater([self = self(), callback] {
        if (auto* const delegate = self->delegate()) (delegate->*callback)(*self);
    });
}

void SwitchTelnetController::closeStreams(TelnetConnectionEnd::Cause cause, std::string reason) {
    NSStreamPair streams;
    std::shared_ptr<NSThread> thread;
    {
        MutexLock lock(stateMutex_);
        if (streams_.input == nullptr) return;
        if (std::exchange(closing_, true)) {
            // Another thread is closing. Its thread counts as winding down for whoever waits for that from now on.
            communicationsThread_->cancel();
            return;
        }
        streams = streams_;
        thread = communicationsThread_;
        // The mark that the command failed ("ERROR", error, hasResponse) is meant for the slot that has just been
        // emptied and so reaches no command. That is intended: the client finds its command unanswered.
        currentTelnetCommand_ = nullptr;
        setConnectionEnd(cause, std::move(reason));
        // Here, so that it is false after every close, also after one that meets another thread's.
        setIsConnected(false);
        isTryingToConnect_ = false;
    }
    releaseWaitingClients(thread);
    for (const char* mode : kStreamModes) {
        streams.input->removeFromRunLoopForMode(thread->runLoop(), mode);
        streams.output->removeFromRunLoopForMode(thread->runLoop(), mode);
    }
    streams.input->setDelegate(nullptr);
    streams.output->setDelegate(nullptr);
    if (cause != TelnetConnectionEnd::Cause::owner) streams.output->noteFailure();
    streams.input->close();
    streams.output->close();
    {
        MutexLock lock(stateMutex_);
        streams_ = {};
        // With the thread go its run loop and the descriptors of that; a closed controller may be kept for long.
        communicationsThread_ = nullptr;
        outputStreamReady_ = false;
        closing_ = false;
    }
    thread->cancel();
    tellDelegate(&SwitchTelnetControllerDelegate::nodeConnectionDidClose);
}

// Whoever waits for a reply, also to a command that is still queued, is released by the communications thread. A thread
// that is itself blocked, because a second command was added while one was in flight or because the peer takes no more
// bytes, cannot do it; then it is done here.
void SwitchTelnetController::releaseWaitingClients(const std::shared_ptr<NSThread>& thread) {
    const auto released =
        thread->runLoop()->performAndWait([self = self()] { self->unlockMutex(); }, fromNow(limits_.release));
    if (released != NSRunLoop::Performed::yes) unlockMutex();
}

}  // namespace velmora
