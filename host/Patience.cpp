#include "host/Patience.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <utility>

#include "platform/foundation/ImmediateOutput.h"
#include "platform/threads/Interruption.h"

namespace velmora {

namespace {

// A main thread that is not blocked handles a signal within this time.
constexpr std::chrono::milliseconds kAtOnce{200};
constexpr std::chrono::milliseconds kForEver{-1};

// Waits for `what` of the signal, this long at most. False when the thread must end.
bool waitFor(int end, int signal, short what, std::chrono::milliseconds time) {
    std::array<pollfd, 2> watched = {{{end, POLLIN, 0}, {signal, what, 0}}};
    poll(watched.data(), watched.size(), static_cast<int>(time.count()));
    return watched[0].revents == 0;
}

bool isReadable(int descriptor) {
    pollfd watched = {descriptor, POLLIN, 0};
    return poll(&watched, 1, 0) == 1;
}

void watch(int end, int signal, const std::string& words) {
    while (waitFor(end, signal, POLLIN, kForEver)) {
        if (!isReadable(signal)) continue;
        if (!waitFor(end, signal, 0, kAtOnce)) return;
        if (!isReadable(signal)) continue;
        // At once or not at all: where nobody reads, the end of this thread must not be held up.
        [[maybe_unused]] const auto written = writeAtOnce(STDERR_FILENO, "velmora-host: interrupted; " + words + '\n');
        return;  // once is enough; mostly the second time ends the process
    }
}

}  // namespace

Patience::Patience(const Interruption& interruption, std::string words) : end_(eventfd(0, EFD_CLOEXEC)) {
    // Where no descriptor is left to end the thread with, do without it.
    if (end_ < 0) return;
    thread_ = std::thread(
        [end = end_, signal = interruption.descriptor(), text = std::move(words)] { watch(end, signal, text); });
}

Patience::~Patience() {
    if (!thread_.joinable()) return;
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = write(end_, &one, sizeof one);
    thread_.join();
    close(end_);
}

}  // namespace velmora
