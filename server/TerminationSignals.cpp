#include "server/TerminationSignals.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include <utility>

namespace velmora {

TerminationSignals::TerminationSignals(std::function<void()> onSignal) {
    sigset_t termination;
    sigemptyset(&termination);
    sigaddset(&termination, SIGINT);
    sigaddset(&termination, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &termination, &before_);
    descriptor_ = signalfd(-1, &termination, SFD_CLOEXEC | SFD_NONBLOCK);
    notifier_ = std::make_unique<QSocketNotifier>(descriptor_, QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this, onSignal = std::move(onSignal)] {
        signalfd_siginfo information;
        if (::read(descriptor_, &information, sizeof information) == sizeof information) onSignal();
    });
}

TerminationSignals::~TerminationSignals() {
    notifier_.reset();
    ::close(descriptor_);
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

}  // namespace velmora
