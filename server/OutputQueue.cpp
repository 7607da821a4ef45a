#include "server/OutputQueue.h"

#include <limits.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <utility>

#include "platform/foundation/ImmediateOutput.h"
#include "platform/foundation/Text.h"

namespace velmora {

namespace {

constexpr std::size_t kRoom = 256 * 1024;  // bytes
// How often a reader that takes nothing is looked at, and how long it is waited for at the end.
constexpr std::chrono::milliseconds kLook{100};
constexpr std::chrono::milliseconds kLastLook{500};

// Whether the descriptor may take something by then.
bool waitForSpace(int descriptor, std::chrono::milliseconds time) {
    pollfd space{descriptor, POLLOUT, 0};
    return ::poll(&space, 1, static_cast<int>(time.count())) == 1;
}

// As many as a pipe takes in one piece, so that none is cut where its reader stops; of a longer line the beginning.
std::string_view wholeLines(std::string_view text) {
    const std::size_t end = text.substr(0, PIPE_BUF).rfind('\n');
    return text.substr(0, end == std::string_view::npos ? PIPE_BUF : end + 1);
}

}  // namespace

OutputQueue::OutputQueue(int descriptor) : descriptor_(descriptor), thread_([this] { run(); }) {}

OutputQueue::~OutputQueue() {
    {
        MutexLock lock(mutex_);
        ending_ = true;
        wake_.notify_one();
    }
    thread_.join();
}

void OutputQueue::add(std::string_view line) {
    const std::string shown = stringByEscapingControlCharacters(line);
    MutexLock lock(mutex_);
    if (leftOut_ > 0 || queued_.size() + shown.size() >= kRoom) {
        ++leftOut_;
    } else {
        queued_.append(shown).append("\n");
    }
    wake_.notify_one();
}

bool OutputQueue::isEnding() const {
    MutexLock lock(mutex_);
    return ending_;
}

void OutputQueue::run() {
    for (;;) {
        std::string text;
        {
            MutexLock lock(mutex_);
            while (queued_.empty() && leftOut_ == 0 && !ending_) {
                wake_.wait(lock);
            }
            text.swap(queued_);
            if (const std::size_t count = std::exchange(leftOut_, 0); count > 0) {
                text += stringWithFormat("(%li lines are left out here: they were not read in time)\n", count);
            }
            if (isCutShort_ && !text.empty()) text.insert(0, 1, '\n');
        }
        if (text.empty() || !write(text)) return;
    }
}

// False when the reader takes nothing any more and the queue is to end.
bool OutputQueue::write(std::string_view text) {
    int refusals = 0;
    while (!text.empty()) {
        const bool last = isEnding();
        if (!waitForSpace(descriptor_, last ? kLastLook : kLook)) {
            if (last) return false;
            continue;
        }
        const ssize_t count = writeAtOnce(descriptor_, wholeLines(text));
        if (count < 0 && errno == EAGAIN) {
            // A terminal calls itself ready and takes less than it was given.
            if (last && ++refusals > kLastLook / kLook) return false;
            std::this_thread::sleep_for(kLook);
        } else if (count < 0 && errno != EINTR) {
            return true;  // the reader has gone, or the disk is full: the text is lost
        }
        if (count <= 0) continue;
        isCutShort_ = text[static_cast<std::size_t>(count) - 1] != '\n';
        text.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

}  // namespace velmora
