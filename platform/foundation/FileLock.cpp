#include "platform/foundation/FileLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/foundation/FileContents.h"
#include "platform/threads/Moment.h"

namespace velmora {

namespace {

// Between two attempts to lock a file that another process has.
constexpr std::chrono::milliseconds kLook{10};

// One that another user left may only be read, which is enough to lock it on most file systems.
Descriptor openLockFile(const std::string& name) {
    constexpr int kFlags = O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    Descriptor descriptor(open(name.c_str(), O_RDWR | O_CREAT | kFlags, 0644));
    if (!descriptor && errno == EACCES) descriptor = Descriptor(open(name.c_str(), O_RDONLY | kFlags));
    return descriptor;
}

bool isSameFile(const struct stat& left, const struct stat& right) {
    return left.st_dev == right.st_dev && left.st_ino == right.st_ino;
}

}  // namespace

Result<FileLock> FileLock::take(const std::filesystem::path& file, std::chrono::milliseconds wait) {
    constexpr int kAttempts = 100;
    const Date end = fromNow(wait);
    std::error_code unresolved;
    const std::filesystem::path resolved = std::filesystem::weakly_canonical(file, unresolved);
    const std::string name = companionOf(unresolved ? file : resolved, ".lock").string();
    for (int attempt = 0; attempt < kAttempts;) {
        Descriptor descriptor = openLockFile(name);
        struct stat ours {
        }, named{};
        const int fault = descriptor ? 0 : errno;
        if ((descriptor ? fstat(descriptor.number(), &ours) : lstat(name.c_str(), &ours)) == 0 &&
            !S_ISREG(ours.st_mode)) {
            return Failure{name + " is not a file"};
        }
        if (!descriptor) return Failure{name + ": " + failureOfSystem(fault).reason};
        if (flock(descriptor.number(), LOCK_EX | LOCK_NB) != 0) {
            if (errno != EWOULDBLOCK) return failureOfSystem(errno);
            if (Date::clock::now() >= end) break;
            std::this_thread::sleep_for(kLook);
            continue;
        }
        if (lstat(name.c_str(), &named) == 0 && isSameFile(ours, named)) return FileLock(std::move(descriptor), name);
        // Its previous owner has removed it since it was opened here.
        ++attempt;
    }
    return Failure{"another program has it in use"};
}

FileLock::FileLock(Descriptor descriptor, std::string name)
    : descriptor_(std::move(descriptor)), name_(std::move(name)) {}

FileLock::~FileLock() {
    // While it is still locked, so that nobody else has the name by now.
    if (descriptor_) unlink(name_.c_str());
}

}  // namespace velmora
