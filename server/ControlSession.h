// One program that controls the server: its requests come in, replies and events go out.
#pragma once

#include <QByteArray>
#include <QSocketNotifier>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>

#include "platform/foundation/Descriptor.h"
#include "server/ControlCommands.h"

namespace velmora {

// Main thread, and waits for nobody.
class ControlSession {
  public:
    static constexpr std::size_t kMaximumLineBytes = 1024 * 1024;
    // Bytes that have not been taken: beyond it no request is answered, and events are left out.
    static constexpr std::size_t kOutgoingLimit = 1024 * 1024;

    // Takes the connection over, which does not block. The commands outlive it. `changed` is called when it has ended,
    // from where it must not be destroyed, and when it has subscribed or no longer does.
    ControlSession(Descriptor connection, const ControlCommands& commands, std::function<void()> changed);
    ControlSession(const ControlSession&) = delete;

    bool hasEnded() const { return ended_; }
    bool isSubscribed() const { return subscribed_ && !ended_; }
    // Goes out when there is room. How many were left out is told as soon as everything before has been taken.
    void sendEvent(const QByteArray& line);
    void leaveOutEvents(std::size_t count) { leftOut_ += count; }
    // Answers and sends as far as that goes without waiting.
    void advance();

  private:
    void read();
    bool answerNextLine();
    bool continueDump();
    void answer(std::string_view line);
    void send();
    void end();
    std::size_t waiting() const { return outgoing_.size() - sent_; }

    const Descriptor connection_;
    const ControlCommands& commands_;
    const std::function<void()> changed_;
    QSocketNotifier readable_;
    QSocketNotifier writable_;
    std::string incoming_;      // what has not been answered
    std::size_t answered_ = 0;  // bytes at its front that have been
    bool skipping_ = false;     // until the end of a line that is too long
    bool inputEnded_ = false;
    std::string outgoing_;
    std::optional<DumpText> dump_;  // the reply that follows, as far as it is not in there yet
    std::size_t sent_ = 0;          // bytes at its front that have gone
    std::size_t leftOut_ = 0;
    bool subscribed_ = false;
    bool ended_ = false;
};

}  // namespace velmora
