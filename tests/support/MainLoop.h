// Running the main event loop from a test until a condition holds.
#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTimer>
#include <functional>

#include "platform/threads/Moment.h"

namespace velmora::test {

// False when the condition does not hold within the time, which only bounds a failing test.
inline bool runMainLoopUntil(const std::function<bool()>& condition, Seconds timeout = Seconds{30}) {
    const QDeadlineTimer deadline(std::chrono::duration_cast<std::chrono::milliseconds>(timeout));
    // Conditions that other threads make true raise no event here, so the loop looks again every few milliseconds.
    QTimer lookAgain;
    lookAgain.start(2);
    while (!condition()) {
        if (deadline.hasExpired()) return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

// Serves what the event loop has to do now, once.
inline void runMainLoopOnce() {
    QCoreApplication::processEvents();
}

}  // namespace velmora::test
