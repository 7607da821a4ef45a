#include "tests/support/MainLoop.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

namespace velmora::test {

bool runMainLoopUntil(const std::function<bool()>& condition, double timeout) {
    QElapsedTimer elapsed;
    elapsed.start();
    // Conditions that other threads make true raise no event here, so the loop looks again every few milliseconds.
    QTimer lookAgain;
    lookAgain.start(2);
    while (!condition()) {
        if (static_cast<double>(elapsed.elapsed()) > timeout * 1000.0) return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

void runMainLoopOnce() {
    QCoreApplication::processEvents();
}

}  // namespace velmora::test
