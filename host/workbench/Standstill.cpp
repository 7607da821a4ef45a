#include "host/workbench/Standstill.h"

#include <QCoreApplication>
#include <QEvent>
#include <utility>

namespace velmora {

namespace {

constexpr std::chrono::milliseconds kHeartbeat{100};
// Without a beat this long, the window stood still.
constexpr std::chrono::milliseconds kStandstillLimit{500};
// After a key that was discarded, those that follow it this closely are, too: a number that has lost its first digit
// is another number.
constexpr std::chrono::milliseconds kKeysTogether{1000};

}  // namespace

Standstill::Standstill(std::function<void(std::chrono::milliseconds)> ended) : ended_(std::move(ended)) {
    connect(&heart_, &QTimer::timeout, this, &Standstill::beat);
    heart_.setTimerType(Qt::PreciseTimer);
    heart_.start(kHeartbeat);
    sinceBeat_.start();
    QCoreApplication::instance()->installEventFilter(this);
}

// What was done meanwhile waits in the event loop and may be served before or after the first beat; it certainly is
// before the second.
bool Standstill::mayAct() const {
    return !isFresh_ && !sinceBeat_.hasExpired(kStandstillLimit.count());
}

void Standstill::beat() {
    const std::chrono::milliseconds gap(sinceBeat_.restart());
    isFresh_ = gap > kStandstillLimit;
    if (isFresh_) ended_(gap);
}

bool Standstill::mustDiscard(QEvent::Type type) {
    if (type != QEvent::KeyPress && type != QEvent::Shortcut) return !mayAct();
    const bool isAfterDiscardedKey =
        sinceDiscardedKey_.isValid() && !sinceDiscardedKey_.hasExpired(kKeysTogether.count());
    if (mayAct() && !isAfterDiscardedKey) return false;
    sinceDiscardedKey_.start();
    return true;
}

bool Standstill::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
        // Not releases: one that ends a press from before must not leave its button down.
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonDblClick:
        case QEvent::KeyPress:
            // What arrives at the system's window is handed on to a widget, and comes here once more.
            return watched->isWidgetType() && mustDiscard(event->type());
        case QEvent::Shortcut:
            return mustDiscard(event->type());
        default:
            return false;
    }
}

}  // namespace velmora
