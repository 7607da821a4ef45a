// One command line on its way to the switch server, and the slots in which its reply is left.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "platform/foundation/NSObject.h"
#include "platform/threads/ThreadAnnotations.h"

namespace velmora {

// The bytes of a reply as they arrive.
using ResponseData = std::shared_ptr<std::string>;

// A value that any thread reads or replaces as a whole.
template <typename Value>
class Slot {
  public:
    Slot() = default;
    explicit Slot(Value value) : value_(std::move(value)) {}
    Value load() const {
        MutexLock lock(mutex_);
        return value_;
    }
    void store(Value value) {
        MutexLock lock(mutex_);
        value_ = std::move(value);
    }

  private:
    mutable Mutex mutex_;
    Value value_ GUARDED_BY(mutex_);
};

// Made by a client, queued by a connection, read by the client once hasResponse() is true. Any thread: texts and buffer
// are replaced as a whole. Texts are copied when set; the buffer is shared.
class SwitchTelnetCommand final : public NSObject {
  public:
    // An identifier slot that nothing assigns.
    std::string uniqueID() const { return uniqueID_.load(); }
    void setUniqueID(std::string uniqueID) { uniqueID_.store(std::move(uniqueID)); }

    // The command without any line ending.
    std::string command() const { return command_.load(); }
    void setCommand(std::string command) { command_.store(std::move(command)); }

    // The reply: "" until there is one, none when its bytes are not valid UTF-8.
    std::optional<std::string> responseString() const { return responseString_.load(); }
    void setResponseString(std::optional<std::string> responseString) {
        responseString_.store(std::move(responseString));
    }

    // The name of a client operation meant to receive the reply; a slot that nothing uses.
    std::string responseSelector() const { return responseSelector_.load(); }
    void setResponseSelector(std::string responseSelector) { responseSelector_.store(std::move(responseSelector)); }

    // Never null. Appended to by the connection's thread while the command is in flight; never cleared.
    ResponseData responseData() const { return responseData_.load(); }
    void setResponseData(ResponseData responseData) { responseData_.store(std::move(responseData)); }

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
    Slot<std::string> uniqueID_;
    Slot<std::string> command_;
    Slot<std::optional<std::string>> responseString_{""};
    Slot<std::string> responseSelector_;
    Slot<ResponseData> responseData_{std::make_shared<std::string>()};
    std::atomic<std::int32_t> priority_{0};
    std::atomic<NSObject*> client_{nullptr};
    std::atomic<bool> alreadyInQueue_{false};
    std::atomic<bool> requiresXMLResponse_{false};
    std::atomic<bool> error_{false};
    std::atomic<bool> hasResponse_{false};
    std::atomic<bool> wasSent_{false};
};

}  // namespace velmora
