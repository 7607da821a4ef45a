// Runs the main event loop from a test until a condition holds.
#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTimer>
#include <functional>

#include "platform/threads/Moment.h"

namespace velmora::test {

// False when the condition does not become true in time. The limit only bounds a failing test.
inline bool runMainLoopUntil(const std::function<bool()>& condition, Seconds timeout = Seconds{30}) {
    const QDeadlineTimer deadline(std::chrono::duration_cast<std::chrono::milliseconds>(timeout));
    // A condition that another thread makes true raises no event here, so the loop checks every few milliseconds.
    QTimer lookAgain;
    lookAgain.start(2);
    while (!condition()) {
        if (deadline.hasExpired()) return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

// Handles the events that are waiting now, once.
inline void runMainLoopOnce() {
    QCoreApplication::processEvents();
}

}  // namespace velmora::test
