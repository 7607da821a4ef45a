// Running the main event loop from a test until a condition holds.
#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTimer>
#include <functional>

namespace velmora::test {

// False when the condition does not hold within the time (seconds), which only bounds a failing test.
inline bool runMainLoopUntil(const std::function<bool()>& condition, double timeout = 30.0) {
    const QDeadlineTimer deadline(static_cast<qint64>(timeout * 1000.0));
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
