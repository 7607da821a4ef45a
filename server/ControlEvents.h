// What happens in the server, on its way from the threads where it happens to those who have asked to be told.
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/threads/ThreadAnnotations.h"
#include "server/VirtualMatrix.h"

namespace velmora {

// Each is a JSON object on a line: "event", "time" and what the functions below say. Whoever tells of one does not
// wait, whatever becomes of it, and may be on any thread. Nothing is kept while nobody wants them.
class ControlEvents {
  public:
    static constexpr std::size_t kMaximumQueued = 4096;
    static constexpr std::size_t kMaximumTextBytes = 2048;

    struct Taken {
        std::vector<QByteArray> lines;  // with their ends
        std::size_t leftOut = 0;        // events for which there was no room after these
    };

    // Called on the thread that tells of the first event after a taking.
    explicit ControlEvents(std::function<void()> wake) : wake_(std::move(wake)) {}

    // clientCame, clientGone: "client".
    void client(bool came, std::string_view name);
    // command: "client", "line" and "reply" (null for none), and "fault": true where one has changed the reply.
    void command(std::string_view client, std::string_view line, const std::optional<std::string_view>& reply,
                 bool isFaulty);
    // route: "output", "input", "by"; label: "input" or "output", "label", "by".
    void matrix(const MatrixNews& news);
    // announced and withdrawn: "name"; notAnnounced: "reason".
    void announcement(const char* event, std::string_view text);
    // leftOut: "count" of the events that were not read in time. The line itself.
    static QByteArray leftOut(std::size_t count);

    void setWanted(bool wanted) { wanted_.store(wanted, std::memory_order_relaxed); }
    Taken take() EXCLUDES(mutex_);

  private:
    struct Event {
        const char* name;
        QJsonObject details;
        std::chrono::system_clock::time_point time = std::chrono::system_clock::now();
    };

    // Whether an event is worth making, which may happen while others wait. One that is not is counted as left out,
    // if anybody wants them.
    bool hasRoom() EXCLUDES(mutex_);
    void add(Event event) EXCLUDES(mutex_);
    static QByteArray lineOf(Event event);

    const std::function<void()> wake_;
    std::atomic<bool> wanted_ = false;
    Mutex mutex_;
    std::vector<Event> queued_ GUARDED_BY(mutex_);
    std::size_t leftOut_ GUARDED_BY(mutex_) = 0;
};

}  // namespace velmora
