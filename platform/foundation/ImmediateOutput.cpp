#include "platform/foundation/ImmediateOutput.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <string>

namespace velmora {

ssize_t writeAtOnce(int descriptor, std::string_view bytes) {
    const ssize_t sent = send(descriptor, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    if (sent >= 0 || errno != ENOTSOCK) return sent;
    struct stat status {};
    if (fstat(descriptor, &status) != 0) return -1;
    if (S_ISREG(status.st_mode)) return write(descriptor, bytes.data(), bytes.size());
    // Opened anew: on the descriptor itself, "do not wait" would hold for everybody who shares it.
    const std::string name = "/proc/self/fd/" + std::to_string(descriptor);
    const int own = open(name.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (own >= 0) {
        const ssize_t written = write(own, bytes.data(), bytes.size());
        const int reason = errno;
        close(own);
        errno = reason;
        return written;
    }
    // Another user's cannot be opened. A pipe tells how much it takes at once; a terminal does not.
    pollfd space{descriptor, POLLOUT, 0};
    const bool hasSpace = S_ISFIFO(status.st_mode) && bytes.size() <= PIPE_BUF && poll(&space, 1, 0) == 1 &&
                          (space.revents & POLLOUT) != 0;
    if (hasSpace) return write(descriptor, bytes.data(), bytes.size());
    errno = EAGAIN;
    return -1;
}

}  // namespace velmora
