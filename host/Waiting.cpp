#include "host/Waiting.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

namespace velmora {

namespace {

constexpr std::chrono::milliseconds kLookAgain{50};

}  // namespace

bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
    QElapsedTimer elapsed;
    elapsed.start();
    if (condition()) return true;
    bool holds = false;
    QEventLoop loop;
    QTimer lookAgain;
    QObject::connect(&lookAgain, &QTimer::timeout, &loop, [&] {
        const bool last = elapsed.elapsed() >= limit.count();
        holds = condition();
        if (holds || last) loop.quit();
    });
    lookAgain.start(kLookAgain);
    loop.exec();
    return holds;
}

}  // namespace velmora
