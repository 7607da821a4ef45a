#include "platform/threads/Interruption.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <QSocketNotifier>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <limits>
#include <utility>

namespace velmora {

namespace {

constexpr std::array kSignals = {SIGINT, SIGTERM, SIGHUP};

// The signal handler writes to it. Never closed: a handler that is running on another thread may still write to it when
// its Interruption is gone.
std::atomic<int> wakeUp = -1;

// -1 while the process has no descriptor left for it.
int wakeUpDescriptor() {
    static int descriptor = -1;
    if (descriptor < 0) descriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    return descriptor;
}

void readBack() {
    std::uint64_t count = 0;
    [[maybe_unused]] const auto got = read(wakeUpDescriptor(), &count, sizeof count);
}

// How many of SIGINT and SIGTERM, whichever they are, call the handler; the next one ends the process.
std::atomic<int> callsLeft = 0;
std::atomic<int> latest = 0;
static_assert(std::atomic<int>::is_always_lock_free);

void handleSignal(int signal) {
    const int error = errno;
    latest = signal;
    if (signal != SIGHUP && callsLeft.fetch_sub(1) <= 0) {
        std::signal(signal, SIG_DFL);
        raise(signal);  // it ends the process when this function returns
    }
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = write(wakeUp.load(), &one, sizeof one);
    errno = error;
}

}  // namespace

Interruption::Interruption(std::function<void()> handler, Second second) : earlier_{} {
    // Without it the signals do what they did before: ending the process at once is better than not at all.
    if (wakeUpDescriptor() < 0) return;
    notifier_ = std::make_unique<QSocketNotifier>(wakeUpDescriptor(), QSocketNotifier::Read);
    readBack();  // a signal that came for an earlier one
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [call = std::move(handler)] {
        readBack();
        call();
    });
    wakeUp = wakeUpDescriptor();
    latest = 0;
    callsLeft = second == Second::endsProcess ? 1 : std::numeric_limits<int>::max();
    struct sigaction action {};
    action.sa_handler = handleSignal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (std::size_t i = 0; i < kSignals.size(); ++i) {
        sigaction(kSignals[i], nullptr, &earlier_[i]);
        // Whoever started this with nohup wants it to outlive its terminal.
        if (kSignals[i] == SIGHUP && earlier_[i].sa_handler == SIG_IGN) continue;
        sigaction(kSignals[i], &action, nullptr);
    }
}

int Interruption::descriptor() const {
    return wakeUpDescriptor();
}

int Interruption::signal() const {
    return notifier_ != nullptr ? latest.load() : 0;
}

Interruption::~Interruption() {
    if (notifier_ == nullptr) return;
    for (std::size_t i = 0; i < kSignals.size(); ++i) {
        sigaction(kSignals[i], &earlier_[i], nullptr);
    }
}

}  // namespace velmora
