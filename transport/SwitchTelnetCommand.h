// One command line on its way to the switch server, and the slots in which its reply is left.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "platform/foundation/NSObject.h"
#include "platform/threads/ThreadAnnotations.h"

namespace velmora {

// The bytes of a reply as they arrive.
using ResponseData = std::shared_ptr<std::string>;

// Made by a client, queued by a connection, read by the client once hasResponse() is true. Any thread: texts and buffer
// are replaced as a whole. Texts are copied when set; the buffer is shared.
class SwitchTelnetCommand final : public NSObject {
  public:
    SwitchTelnetCommand();

    // An identifier slot that nothing assigns.
    std::string uniqueID() const;
    void setUniqueID(std::string uniqueID);

    // The command without any line ending.
    std::string command() const;
    void setCommand(std::string command);

    // The reply: "" until there is one, none when its bytes are not valid UTF-8.
    std::optional<std::string> responseString() const;
    void setResponseString(std::optional<std::string> responseString);

    // The name of a client operation meant to receive the reply; a slot that nothing uses.
    std::string responseSelector() const;
    void setResponseSelector(std::string responseSelector);

    // Never null. Appended to by the connection's thread while the command is in flight; never cleared.
    ResponseData responseData() const;
    void setResponseData(ResponseData responseData);

    // Higher goes first; compared as unsigned 32-bit numbers, so a negative one goes ahead of all others.
    std::int32_t priority() const { return priority_; }
    void setPriority(std::int32_t priority) { priority_ = priority; }

    // Who issued the command; not owned and never used by the connection.
    NSObject* client() const { return client_; }
    void setClient(NSObject* client) { client_ = client; }

    // A flag slot that nothing uses; the queue compares command texts.
    bool alreadyInQueue() const { return alreadyInQueue_; }
    void setAlreadyInQueue(bool alreadyInQueue) { alreadyInQueue_ = alreadyInQueue; }

    // Whether the reply is a whole XML property list; otherwise it is whatever the first read returns.
    bool requiresXMLResponse() const { return requiresXMLResponse_; }
    void setRequiresXMLResponse(bool requiresXMLResponse) { requiresXMLResponse_ = requiresXMLResponse; }

    // Meant for a command that the closing of its connection failed; see SwitchTelnetController::closeStreams for why
    // it stays false.
    bool error() const { return error_; }
    void setError(bool error) { error_ = error; }

    // False after the synchronous call means that there is no reply: time-out, dropped or duplicate command, connection
    // lost.
    bool hasResponse() const { return hasResponse_; }
    void setHasResponse(bool hasResponse) { hasResponse_ = hasResponse; }

    // Whether its line was handed to a connection.
    bool wasSent() const { return wasSent_; }
    void setWasSent(bool wasSent) { wasSent_ = wasSent; }

  private:
    mutable Mutex mutex_;
    std::string uniqueID_ GUARDED_BY(mutex_);
    std::string command_ GUARDED_BY(mutex_);
    std::optional<std::string> responseString_ GUARDED_BY(mutex_) = "";
    std::string responseSelector_ GUARDED_BY(mutex_);
    ResponseData responseData_ GUARDED_BY(mutex_);
    std::atomic<std::int32_t> priority_{0};
    std::atomic<NSObject*> client_{nullptr};
    std::atomic<bool> alreadyInQueue_{false};
    std::atomic<bool> requiresXMLResponse_{false};
    std::atomic<bool> error_{false};
    std::atomic<bool> hasResponse_{false};
    std::atomic<bool> wasSent_{false};
};

}  // namespace velmora
