#include "server/SocketFile.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "platform/foundation/Text.h"

namespace velmora {

namespace {

constexpr std::size_t kMaximumPathBytes = 107;
static_assert(kMaximumPathBytes == sizeof(sockaddr_un::sun_path) - 1);

Descriptor newSocket() {
    return Descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

// Makes room under the name if that is left over.
Result<void> removeLeftOver(const std::string& path, const sockaddr_un& address) {
    struct stat found {};
    if (lstat(path.c_str(), &found) != 0) return errno == ENOENT ? Result<void>() : failureOfSystem(errno);
    if (!S_ISSOCK(found.st_mode)) return Failure{"something else than a socket has that name"};
    const Descriptor tried = newSocket();
    if (!tried) return failureOfSystem(errno);
    const bool answers = connect(tried.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    if (answers || errno == EAGAIN) return Failure{"another program listens there"};
    if (errno != ECONNREFUSED) return failureOfSystem(errno);
    return unlink(path.c_str()) == 0 ? Result<void>() : failureOfSystem(errno);
}

}  // namespace

Result<SocketFile> SocketFile::listen(const std::string& path) {
    if (path.size() > kMaximumPathBytes) {
        return Failure{
            stringWithFormat("its name has %li bytes, and a socket's has at most %li", path.size(), kMaximumPathBytes)};
    }
    Result<FileLock> lock = FileLock::take(path);
    if (!lock) return lock.failure();
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::ranges::copy(path, address.sun_path);
    if (const auto free = removeLeftOver(path, address); !free) return free.failure();

    Descriptor descriptor = newSocket();
    if (!descriptor) return failureOfSystem(errno);
    // Before it has a name, so that the file is nobody else's from its first moment on.
    if (fchmod(descriptor.number(), S_IRUSR | S_IWUSR) != 0) return failureOfSystem(errno);
    if (bind(descriptor.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        return failureOfSystem(errno);
    }
    SocketFile file(std::move(descriptor), *std::move(lock), path);
    if (::listen(file.descriptor(), SOMAXCONN) != 0) return failureOfSystem(errno);
    return file;
}

SocketFile::SocketFile(Descriptor descriptor, FileLock lock, std::string path)
    : descriptor_(std::move(descriptor)), lock_(std::move(lock)), path_(std::move(path)) {
    lstat(path_.c_str(), &status_);
}

SocketFile::~SocketFile() {
    struct stat now {};
    if (!descriptor_ || lstat(path_.c_str(), &now) != 0) return;
    // Somebody may have removed it and put something else there.
    if (now.st_dev == status_.st_dev && now.st_ino == status_.st_ino) unlink(path_.c_str());
}

}  // namespace velmora
