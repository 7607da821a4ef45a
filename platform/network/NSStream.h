// The two halves of one TCP connection, with events delivered by a run loop.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/foundation/NSObject.h"
#include "platform/network/SocketAddress.h"
#include "platform/threads/Moment.h"

namespace velmora {

class NSRunLoop;
class NSStream;
class TCPConnection;

enum NSStreamEvent : unsigned {
    NSStreamEventOpenCompleted = 1,
    NSStreamEventHasBytesAvailable = 2,
    NSStreamEventHasSpaceAvailable = 4,
    NSStreamEventErrorOccurred = 8,
    NSStreamEventEndEncountered = 16,
};

class NSStreamDelegate {
  public:
    virtual ~NSStreamDelegate() = default;
    // On the thread whose run loop the stream is scheduled in.
    virtual void streamHandleEvent(const std::shared_ptr<NSStream>& stream, NSStreamEvent event) = 0;
};

// Finds out, when a connection is opened, where to connect to. Calls the answer at most once, on any thread, at once or
// later, with the addresses in the order in which to try them; no addresses means that there is nowhere to connect to.
// It must not need the main loop.
using EndpointProvider = std::function<void(std::function<void(std::vector<SocketAddress>)> answer)>;
// Called once when a connection that was opened is over: ended by the peer or a failure, or else closed. Any thread.
using EndObserver = std::function<void(bool endedByItself)>;

// Scheduling, opening, closing and the delegate: any thread. Reading and writing: the thread whose run loop it is
// scheduled in, or, for a single user at a time, any other. The connection is closed when both halves are; its
// descriptor is given back when both are released.
class NSStream : public NSObject {
  public:
    ~NSStream() override;

    // Not owned. Once it is cleared no further event is delivered; one that another thread is handling still finishes.
    void setDelegate(NSStreamDelegate* delegate);

    void scheduleInRunLoopForMode(const std::shared_ptr<NSRunLoop>& runLoop, const char* mode);
    void removeFromRunLoopForMode(const std::shared_ptr<NSRunLoop>& runLoop, const char* mode);

    // Starts to connect (the first half that is opened does); the outcome is an event.
    void open();
    // The peer has failed, as its owner has found out: when this connection is closed, it counts as having ended.
    void noteFailure();
    // No event follows. The peer sees the end of the stream.
    void close();

    // Why an error event was given, in the system's words. Any thread, from that event on.
    std::string failureReason() const;

  protected:
    enum class Half { input, output };
    NSStream(std::shared_ptr<TCPConnection> connection, Half half) : connection_(std::move(connection)), half_(half) {}

    const std::shared_ptr<TCPConnection> connection_;

  private:
    friend class TCPConnection;
    const Half half_;
};

class NSInputStream final : public NSStream {
  public:
    explicit NSInputStream(std::shared_ptr<TCPConnection> connection) : NSStream(std::move(connection), Half::input) {}
    // Reads what is there, at most the buffer's size. Returns the number of bytes, 0 at the end of the stream, -1 when
    // there is nothing to read or the connection has failed. Never waits.
    //
    // A bytes-available event that is not answered by a read leaves the bytes in the kernel's buffer and costs nothing;
    // it is given again when more bytes arrive or when the run loop has run other work.
    std::int64_t read(std::span<std::uint8_t> buffer);
};

class NSOutputStream final : public NSStream {
  public:
    explicit NSOutputStream(std::shared_ptr<TCPConnection> connection)
        : NSStream(std::move(connection), Half::output) {}
    // Whether the connection is established and the kernel's buffer has space.
    bool hasSpaceAvailable() const;
    // Writes at least one byte and returns the number of bytes written, never a negative number: it waits for space
    // while the connection lives. Once the connection has failed or is closed it swallows the bytes and returns their
    // number; a failure becomes an error event.
    std::int64_t write(std::span<const std::uint8_t> bytes);
};

struct NSStreamPair {
    std::shared_ptr<NSInputStream> input;
    std::shared_ptr<NSOutputStream> output;
};

// Time limits of a connection. The attempt at one address:
inline constexpr Seconds kConnectTimeout{10};
// Where there are several addresses, the first turn of each and the first turns of all together: every one must have
// its turn within a reply's time limit, or a command that waits for the connection would end it before. Those that did
// not answer then get a second turn of full length.
inline constexpr Seconds kFirstTurnTimeout{2.5};
inline constexpr Seconds kFirstTurnsTimeout{8};
// Until a peer that no longer answers becomes an error event.
inline constexpr std::chrono::seconds kVanishedPeerTimeout{60};

// A pair over one connection to be made to the first of the provider's addresses that accepts it.
NSStreamPair streamPairWithEndpointProvider(EndpointProvider provider, EndObserver observer = nullptr);

class NSHost;
// A pair to a port (1 to 65,535, host byte order) of a host; none when the host is null or has no address or the port
// is out of range.
std::optional<NSStreamPair> getStreamsToHostPort(const std::shared_ptr<NSHost>& host, std::uint64_t port);

}  // namespace velmora
