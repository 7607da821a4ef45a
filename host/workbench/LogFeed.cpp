#include "host/workbench/LogFeed.h"

#include <QTime>
#include <utility>

#include "platform/threads/MainThread.h"
#include "platform/threads/ThreadAnnotations.h"

namespace velmora {

struct LogFeed::Queue {
    Mutex mutex;
    Lines lines GUARDED_BY(mutex);
    std::function<void(const Lines&)> receive;  // main thread only

    void deliver() {
        Lines arrived;
        {
            MutexLock lock(mutex);
            arrived.swap(lines);
        }
        receive(arrived);
    }

    // Whether a delivery has to be arranged.
    bool push(const std::string& text) {
        MutexLock lock(mutex);
        lines.push_back(QTime::currentTime().toString("HH:mm:ss ").toStdString() + text);
        if (lines.size() > kWaitingLines) lines.pop_front();
        return lines.size() == 1;
    }
};

LogFeed::LogFeed(std::function<void(const Lines&)> receive)
    : queue_(std::make_shared<Queue>()), observation_([weak = std::weak_ptr<Queue>(queue_)](const std::string& text) {
          const auto queue = weak.lock();
          if (queue == nullptr || !queue->push(text)) return;
          MainThread::performLater([weak] {
              if (const auto waiting = weak.lock()) waiting->deliver();
          });
      }) {
    queue_->receive = std::move(receive);
}

LogFeed::~LogFeed() = default;

}  // namespace velmora
