#include "bench/EventLoop.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include "bench/Wrong.h"

namespace velmora::bench {

namespace {

constexpr std::chrono::milliseconds kLookAgain{20};

}  // namespace

void serveUntil(const std::function<bool()>& condition, const std::string& awaited, std::chrono::seconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    QTimer lookAgain;
    lookAgain.start(kLookAgain);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) throw Wrong("waited in vain for " + awaited);
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

void serveFor(std::chrono::milliseconds duration) {
    QEventLoop loop;
    QTimer::singleShot(duration, &loop, &QEventLoop::quit);
    loop.exec();
}

}  // namespace velmora::bench
