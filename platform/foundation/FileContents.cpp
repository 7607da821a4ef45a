#include "platform/foundation/FileContents.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <system_error>
#include <utility>

namespace velmora {

namespace {

// A descriptor that is closed at the end of the scope, unless close() was called.
class Descriptor {
  public:
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (number_ >= 0) ::close(number_);
    }
    int number() const { return number_; }
    // Whether what was written has been taken.
    bool close() { return ::close(std::exchange(number_, -1)) == 0; }

  private:
    int number_;
};

bool writeAll(int descriptor, std::string_view contents) {
    while (!contents.empty()) {
        const ssize_t written = write(descriptor, contents.data(), contents.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return false;
        contents.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

// A file that was not there before, of a name of its own: open to its owner only, or to whom the system lets.
Descriptor newFileBeside(const std::filesystem::path& file, bool isPrivate, std::string& name) {
    constexpr int kAttempts = 100;
    const std::filesystem::path folder = file.has_parent_path() ? file.parent_path() : std::filesystem::path(".");
    int number = -1;
    for (int attempt = 0; attempt < kAttempts && number < 0; ++attempt) {
        name = (folder / (".velmora-" + std::to_string(arc4random()))).string();
        number = open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, isPrivate ? 0600 : 0666);
        if (number < 0 && errno != EEXIST) break;
    }
    return Descriptor(number);
}

bool keepOwnerAndPermissions(int descriptor, const struct stat& old) {
    // Only root gives files away. A group that cannot be kept must not be let in by the permissions of another.
    const bool isKept =
        fchown(descriptor, old.st_uid, old.st_gid) == 0 || fchown(descriptor, static_cast<uid_t>(-1), old.st_gid) == 0;
    return fchmod(descriptor, old.st_mode & (isKept ? 07777 : 0707)) == 0;
}

}  // namespace

bool readFile(const std::filesystem::path& file, std::size_t byteLimit, std::string& contents) {
    // Without waiting, should it be a pipe that nobody writes to.
    const Descriptor descriptor(open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (descriptor.number() < 0) return false;
    struct stat status {};
    if (fstat(descriptor.number(), &status) != 0) return false;
    if (!S_ISREG(status.st_mode)) {
        errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
        return false;
    }
    std::size_t size = 0;
    while (size <= byteLimit) {
        contents.resize(std::min(size + 64 * 1024, byteLimit + 1));
        const ssize_t got = read(descriptor.number(), contents.data() + size, contents.size() - size);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return false;
        if (got == 0) break;
        size += static_cast<std::size_t>(got);
    }
    contents.resize(size);
    return true;
}

bool replaceFile(const std::filesystem::path& file, std::string_view contents) {
    std::error_code unresolved;
    std::filesystem::path target = std::filesystem::canonical(file, unresolved);
    struct stat old {};
    const bool hasOld = lstat(unresolved ? file.c_str() : target.c_str(), &old) == 0;
    if (hasOld && (unresolved || !S_ISREG(old.st_mode))) {  // a link that leads nowhere is none of ours to cut
        errno = unresolved ? unresolved.value() : S_ISDIR(old.st_mode) ? EISDIR : EINVAL;
        return false;
    }
    if (unresolved) target = file;
    std::string newFile;
    Descriptor descriptor = newFileBeside(target, hasOld, newFile);
    if (descriptor.number() < 0) return false;
    const bool done = (!hasOld || keepOwnerAndPermissions(descriptor.number(), old)) &&
                      writeAll(descriptor.number(), contents) && fsync(descriptor.number()) == 0 &&
                      descriptor.close() && rename(newFile.c_str(), target.c_str()) == 0;
    if (!done) {
        const int reason = errno;
        unlink(newFile.c_str());
        errno = reason;
        return false;
    }
    // The new name survives a power cut only when the folder is on the disk, too. Not every file system can do that.
    const Descriptor folder(
        open(target.has_parent_path() ? target.parent_path().c_str() : ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.number() >= 0) fsync(folder.number());
    return true;
}

}  // namespace velmora
