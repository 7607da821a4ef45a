// One TCP connection to a switch server: its communications thread, its queue of commands with at most one in flight,
// and the framing of command lines and replies.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/foundation/NSObject.h"
#include "platform/network/NSNetService.h"
#include "platform/network/NSStream.h"
#include "platform/threads/AtomicReference.h"
#include "platform/threads/NSLock.h"
#include "platform/threads/NSThread.h"
#include "platform/threads/ThreadAnnotations.h"
#include "transport/SwitchTelnetCommand.h"

namespace velmora {

class SwitchTelnetController;

// The connection's callbacks, all on the main thread through its event loop.
class SwitchTelnetControllerDelegate {
  public:
    virtual ~SwitchTelnetControllerDelegate() = default;
    // The connection is usable.
    virtual void nodeConnectionDidOpen(SwitchTelnetController& controller) = 0;
    // The connection could not be made; nodeConnectionDidClose follows.
    virtual void nodeConnectionDidNotOpen(SwitchTelnetController& controller) = 0;
    // A connection, made or being made, has been closed by either side.
    virtual void nodeConnectionDidClose(SwitchTelnetController& controller) = 0;
};

// The plugin keeps these; no setting changes them. Tests and the soak shorten them.
struct TelnetTimeLimits {
    Seconds reply{10};         // for the reply to one command; the connection is closed when it has passed
    Seconds runLoopPeriod{2};  // one run of the communications thread's loop; a cancel request is seen after it
    Seconds release{0.25};     // for the communications thread to release a waiting client
};

// How a connection, made or being made, came to its end.
struct TelnetConnectionEnd {
    enum class Cause {
        none,     // it has not ended
        owner,    // closeStreams was called
        peer,     // in order
        failure,  // it could not be made, or broke
        timeOut,  // it was given up because a reply's time limit had passed
    };
    Cause cause = Cause::none;
    std::string reason;                            // in plain words; "" for the owner's
    bool wasMade = false;                          // whether it was a connection by then
    Date date;                                     // when it ended ...
    std::chrono::system_clock::time_point moment;  // ... and the same by the calendar
};

// A reply that grows beyond this many bytes closes the connection.
inline constexpr std::size_t kResponseByteLimit = 16 * 1024 * 1024;

// Made with std::make_shared; its communications thread holds it until that thread has ended. Operations may be called
// on any thread, but for those marked as the communications thread's. Whoever owns it closes it before letting it go.
class SwitchTelnetController final : public NSObject, private NSStreamDelegate {
  public:
    explicit SwitchTelnetController(TelnetTimeLimits limits = {});

    // Not owned; set, cleared and called on the main thread.
    SwitchTelnetControllerDelegate* delegate() const { return delegate_; }
    void setDelegate(SwitchTelnetControllerDelegate* delegate) { delegate_ = delegate; }

    // Both begin to connect and return at once; the outcome is a callback. A start that is refused, because an
    // earlier connection is still being closed, its thread still runs, or there are no streams to be had, posts the
    // notification "nodeConnectionDidNotOpen" with the delegate as its object.
    void startConnectionWithNetService(const std::shared_ptr<NSNetService>& service);
    // Host name or address text, port 1 to 65,535. Looking the name up may take seconds. Nothing in the product calls
    // this one.
    void startConnectionWithHostAddressPort(const std::string& address, std::uint64_t port);

    // Nothing in the product calls this.
    void stopConnection() { closeStreams(); }
    // Closes the connection and releases every client that waits for a reply; nothing happens when there is none.
    // Queued commands stay.
    void closeStreams() { closeStreams(TelnetConnectionEnd::Cause::owner, ""); }

    bool isConnected() const { return isConnected_; }
    void setIsConnected(bool isConnected);
    bool isTryingToConnect() const { return isTryingToConnect_; }
    void setIsTryingToConnect(bool isTryingToConnect) { isTryingToConnect_ = isTryingToConnect; }
    bool communicationsThreadIsRunning() const { return communicationsThreadIsRunning_; }
    // Of the last connection that was started; known before a client that waited for a reply is released.
    TelnetConnectionEnd connectionEnd() const;

    // An address slot. Nothing in the product uses it.
    std::optional<std::string> nodeAddress() const { return nodeAddress_.load(); }
    void setNodeAddress(std::optional<std::string> nodeAddress) { nodeAddress_.store(std::move(nodeAddress)); }

    // Null while no communications thread runs. Nothing in the product calls these two.
    std::shared_ptr<NSRunLoop> runLoop() const { return runLoop_.load(); }
    void setRunLoop(std::shared_ptr<NSRunLoop> runLoop) { runLoop_.store(std::move(runLoop)); }
    // The command in flight, or null.
    std::shared_ptr<SwitchTelnetCommand> currentTelnetCommand() const;
    void setCurrentTelnetCommand(std::shared_ptr<SwitchTelnetCommand> command);
    // A copy of the queue, head first.
    std::vector<std::shared_ptr<SwitchTelnetCommand>> telnetCommands() const;
    void setTelnetCommands(std::vector<std::shared_ptr<SwitchTelnetCommand>> commands);

    // Queues the command and waits until it is answered, the reply's time limit has passed (the connection is then
    // closed), or the connection is gone; returns at once without one. For any thread but the communications thread.
    void processCommandSynchronously(const std::shared_ptr<SwitchTelnetCommand>& command);
    // Queues the command and sends the next one if possible, without waiting for the reply. It takes the signal that a
    // reply gives back: a second call before that blocks its thread until then. That is intended; clients send one
    // command at a time.
    void addNewCommand(const std::shared_ptr<SwitchTelnetCommand>& command);
    // Takes the head off the queue; null when it is empty. Nothing in the product calls this.
    std::shared_ptr<SwitchTelnetCommand> nextCommand();
    // Sends the head of the queue when no command is in flight.
    void sendNextCommand();
    // Gives the signal back. Communications thread.
    void unlockMutex() { communicationsThreadMutex.unlock(); }
    // Writes the bytes, or drops them when the stream has no space. Nothing in the product calls this.
    void sendData(std::span<const std::uint8_t> data);

    // The framing of an XML reply, asked of the command in flight; false without one. Communications thread. Nothing in
    // the product calls these, and no command of it requires an XML reply.
    bool checkForXMLPLISTBeginning() const;
    bool checkForXMLPLISTTermination() const;
    bool XMLReceivedCompletely() const;

  private:
    void streamHandleEvent(const std::shared_ptr<NSStream>& stream, NSStreamEvent event) override;
    void bytesAvailable(NSInputStream& stream);
    void firstSpaceAvailable(const std::shared_ptr<NSStream>& stream);
    void errorOccurred(const std::string& reason);
    void closeStreams(TelnetConnectionEnd::Cause cause, std::string reason);
    void setConnectionEnd(TelnetConnectionEnd::Cause cause, std::string reason) REQUIRES(stateMutex_);

    // False, and the start is refused, while a thread still runs or a connection is being closed.
    bool claimThread();
    void refuseStart();
    void failStart(std::string reason);
    void startConnection(const std::optional<NSStreamPair>& streams);
    void startCommunicationsThread();
    void openStreams();

    NSStreamPair streams() const;
    bool hasOpenStream() const;
    bool isCurrentStream(const std::shared_ptr<NSStream>& stream) const;
    void enqueue(const std::shared_ptr<SwitchTelnetCommand>& command) REQUIRES(stateMutex_);
    std::shared_ptr<SwitchTelnetCommand> takeNextCommand() REQUIRES(stateMutex_);
    // The line of a command that is in flight from now on, and the connection that it is for.
    struct Line {
        std::string text;
        std::shared_ptr<NSOutputStream> output;
        std::shared_ptr<NSRunLoop> loop;
    };
    // None while another command is in flight, or when the queue is empty.
    std::optional<Line> takeNextLine() REQUIRES(stateMutex_);
    static void write(const Line& line);
    enum class Reply { incomplete, complete, tooLong };
    // Adds bytes to the reply to the command in flight. A complete one is stored, and the command is no longer in
    // flight.
    Reply addToReply(std::string_view bytes) REQUIRES(stateMutex_);
    void giveSignalBack();
    void releaseWaitingClients(const std::shared_ptr<NSThread>& thread);
    void tellDelegate(void (SwitchTelnetControllerDelegate::*callback)(SwitchTelnetController&));

    std::shared_ptr<SwitchTelnetController> self() {
        return std::static_pointer_cast<SwitchTelnetController>(shared_from_this());
    }

    const TelnetTimeLimits limits_;
    // A signal between the client that waits for a reply and the communications thread: taken when a command is added,
    // given back when it is answered or abandoned. It guards no data.
    NSLock communicationsThreadMutex;

    mutable Mutex stateMutex_;
    NSStreamPair streams_ GUARDED_BY(stateMutex_);  // both or none
    std::shared_ptr<NSThread> communicationsThread_ GUARDED_BY(stateMutex_);
    std::shared_ptr<SwitchTelnetCommand> currentTelnetCommand_ GUARDED_BY(stateMutex_);
    std::vector<std::shared_ptr<SwitchTelnetCommand>> telnetCommands_ GUARDED_BY(stateMutex_);
    bool outputStreamReady_ GUARDED_BY(stateMutex_) = false;
    // One thread is closing the streams; the fields still hold them.
    bool closing_ GUARDED_BY(stateMutex_) = false;
    TelnetConnectionEnd end_ GUARDED_BY(stateMutex_);

    AtomicReference<NSRunLoop> runLoop_;
    Slot<std::optional<std::string>> nodeAddress_;
    std::atomic<bool> communicationsThreadIsRunning_{false};
    std::atomic<bool> isConnected_{false};
    std::atomic<bool> isTryingToConnect_{false};
    std::atomic<SwitchTelnetControllerDelegate*> delegate_{nullptr};
};

}  // namespace velmora
