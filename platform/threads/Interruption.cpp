#include "platform/threads/Interruption.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <QSocketNotifier>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <utility>

namespace velmora {

namespace {

constexpr std::array kSignals = {SIGINT, SIGTERM, SIGHUP};

// What the signal handler writes to; -1 for nothing.
std::atomic<int> wakeUp = -1;

void handleSignal(int) {
    const int error = errno;
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = write(wakeUp.load(), &one, sizeof one);
    errno = error;
}

}  // namespace

Interruption::Interruption(std::function<void()> handler, Second second)
    : descriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      notifier_(std::make_unique<QSocketNotifier>(descriptor_, QSocketNotifier::Read)),
      earlier_{} {
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(),
                     [descriptor = descriptor_, call = std::move(handler)] {
                         std::uint64_t count = 0;
                         [[maybe_unused]] const auto got = read(descriptor, &count, sizeof count);
                         call();
                     });
    wakeUp = descriptor_;
    struct sigaction action {};
    action.sa_handler = handleSignal;
    action.sa_flags = SA_RESTART;
    if (second == Second::endsProcess) action.sa_flags |= static_cast<int>(SA_RESETHAND);
    sigemptyset(&action.sa_mask);
    for (std::size_t i = 0; i < kSignals.size(); ++i) {
        sigaction(kSignals[i], nullptr, &earlier_[i]);
        // Whoever started this with nohup wants it to outlive its terminal.
        if (kSignals[i] == SIGHUP && earlier_[i].sa_handler == SIG_IGN) continue;
        sigaction(kSignals[i], &action, nullptr);
    }
}

Interruption::~Interruption() {
    for (std::size_t i = 0; i < kSignals.size(); ++i) {
        sigaction(kSignals[i], &earlier_[i], nullptr);
    }
    wakeUp = -1;
    notifier_ = nullptr;
    close(descriptor_);
}

}  // namespace velmora
