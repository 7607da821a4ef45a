#include "host/Waiting.h"

#include <QCoreApplication>
#include <QTimer>

namespace velmora {

bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
    QTimer end;
    end.setSingleShot(true);
    end.start(limit);
    while (!condition()) {
        if (!end.isActive()) return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

}  // namespace velmora
