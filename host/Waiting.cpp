#include "host/Waiting.h"

#include <QCoreApplication>
#include <QScopedValueRollback>
#include <QThread>
#include <QTimer>

namespace velmora {

bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
    // Outside of exec Qt leaves it to us to delete what is to be deleted later. Inside of anything else, whoever asked
    // for that may still be running.
    static bool isWaiting = false;
    const bool deletes = !isWaiting && QThread::currentThread()->loopLevel() == 0;
    const QScopedValueRollback waiting(isWaiting, true);
    QTimer end;
    end.setSingleShot(true);
    end.start(limit);
    while (!condition()) {
        if (!end.isActive()) return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        if (deletes) QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    return true;
}

}  // namespace velmora
