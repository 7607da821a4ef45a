#include "platform/foundation/FileContents.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <QCryptographicHash>
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <system_error>
#include <utility>

#include "platform/foundation/Descriptor.h"
#include "platform/foundation/Text.h"

namespace velmora {

namespace {

constexpr std::size_t kDigits = 8;

Failure noFile(mode_t mode) {
    const char* const kind = S_ISDIR(mode) ? "folder" : S_ISFIFO(mode) ? "pipe" : S_ISSOCK(mode) ? "socket" : "device";
    return {stringWithFormat("it is a %@, not a file", kind)};
}

Failure tooLarge(std::size_t byteLimit) {
    return {stringWithFormat("it is larger than %li bytes", byteLimit)};
}

std::filesystem::path folderOf(const std::filesystem::path& file) {
    return file.has_parent_path() ? file.parent_path() : std::filesystem::path(".");
}

// The file that is to be replaced, and what is known of it where it is there.
struct Target {
    std::filesystem::path path;
    std::optional<struct stat> old;
};

Result<Target> targetOf(const std::filesystem::path& file) {
    std::error_code unresolved;
    Target target{std::filesystem::canonical(file, unresolved), std::nullopt};
    if (unresolved) target.path = file;
    struct stat status {};
    // A file is new only when it is certainly not there: of any other, owner and permissions would be lost.
    if (lstat(target.path.c_str(), &status) != 0) {
        if (errno == ENOENT) return target;
        return failureOfSystem(errno);
    }
    // A link that leads nowhere stays as its owner made it.
    if (unresolved == std::errc::no_such_file_or_directory) return Failure{"it is a link that leads nowhere"};
    if (unresolved) return failureOfSystem(unresolved.value());
    if (!S_ISREG(status.st_mode)) return noFile(status.st_mode);
    // That the folder would allow it does not mean that the file's owner wants it.
    if (faccessat(AT_FDCWD, target.path.c_str(), W_OK, AT_EACCESS) != 0) {
        return errno == EACCES ? Failure{"it is write-protected"} : failureOfSystem(errno);
    }
    target.old = status;
    return target;
}

// False with the reason in errno.
bool writeAll(int descriptor, std::string_view contents) {
    while (!contents.empty()) {
        const ssize_t written = write(descriptor, contents.data(), contents.size());
        if (written < 0 && errno == EINTR) continue;
        if (written == 0) errno = EIO;
        if (written <= 0) return false;
        contents.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

bool isAbsentAttribute(int error) {
    return error == ENODATA || error == ENOTSUP;
}

// The list that lets further users in. Where the old file has none, the one that the folder gives to its new files
// goes.
bool keepAccessList(int descriptor, const std::filesystem::path& old) {
    constexpr const char* kAccessList = "system.posix_acl_access";
    std::array<char, 64 * 1024> list;  // the longest that there can be
    const ssize_t size = getxattr(old.c_str(), kAccessList, list.data(), list.size());
    if (size >= 0) return fsetxattr(descriptor, kAccessList, list.data(), static_cast<std::size_t>(size), 0) == 0;
    return isAbsentAttribute(errno) && (fremovexattr(descriptor, kAccessList) == 0 || isAbsentAttribute(errno));
}

// Whether the system refuses to give a file away: to anybody but root, and in a namespace to users that it does not
// have.
bool isNoRight(int error) {
    return error == EPERM || error == EINVAL;
}

Result<void> keepOwnerAndPermissions(int descriptor, const Target& target) {
    const struct stat& old = *target.old;
    struct stat now {};
    if (fstat(descriptor, &now) != 0) return failureOfSystem(errno);
    if (now.st_uid != old.st_uid && fchown(descriptor, old.st_uid, static_cast<gid_t>(-1)) != 0)
        return isNoRight(errno) ? Failure{"it belongs to another user; only that user or root can replace it"}
                                : failureOfSystem(errno);
    const bool isGroupKept = now.st_gid == old.st_gid || fchown(descriptor, static_cast<uid_t>(-1), old.st_gid) == 0;
    if (!isGroupKept && !isNoRight(errno)) return failureOfSystem(errno);
    // The permissions of the group are at the same time the most that an access list grants. They must let in nobody
    // else than before.
    const bool isSame = isGroupKept && keepAccessList(descriptor, target.path);
    if (fchmod(descriptor, old.st_mode & (isSame ? 07777 : 0707)) != 0) return failureOfSystem(errno);
    return {};
}

// The file that is to take the target's place. It is locked for as long as it has a name of its own, so that others
// know it from one that was left behind.
class NewFile {
  public:
    explicit NewFile(const Target& target) : target_(target) {}
    ~NewFile() {
        if (hasName_) unlink(name_.c_str());
    }

    Result<void> create() {
        constexpr int kAttempts = 100;
        for (int attempt = 0; attempt < kAttempts; ++attempt) {
            std::string digits = std::to_string(arc4random() % 100'000'000);
            digits.insert(0, kDigits - digits.size(), '0');
            name_ = companionOf(target_.path, "-" + digits).string();
            // One that replaces another is open to its owner only, until it has the owner and permissions of the other.
            descriptor_ =
                Descriptor(open(name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, target_.old ? 0600 : 0666));
            if (!descriptor_ && errno != EEXIST) return failureOfSystem(errno);
            if (!descriptor_) continue;
            // Another writer that removes leftovers may have found it before it was locked, and then removes it. On a
            // file system without locks nobody removes leftovers.
            struct stat status {};
            if (flock(descriptor_.number(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) continue;
            if (fstat(descriptor_.number(), &status) == 0 && status.st_nlink == 0) continue;
            hasName_ = true;
            lock_ = Descriptor(fcntl(descriptor_.number(), F_DUPFD_CLOEXEC, 0));
            if (!lock_) return failureOfSystem(errno);
            return {};
        }
        return failureOfSystem(EEXIST);
    }

    Result<void> fill(std::string_view contents) {
        if (!writeAll(descriptor_.number(), contents)) return failureOfSystem(errno);
        if (target_.old) {
            if (auto kept = keepOwnerAndPermissions(descriptor_.number(), target_); !kept) return kept;
        }
        if (fsync(descriptor_.number()) != 0 || !descriptor_.close()) return failureOfSystem(errno);
        return {};
    }

    Result<void> takePlace() {
        if (rename(name_.c_str(), target_.path.c_str()) != 0) return failureOfSystem(errno);
        hasName_ = false;
        return {};
    }

  private:
    const Target& target_;
    std::string name_;
    bool hasName_ = false;
    Descriptor descriptor_;
    Descriptor lock_;  // the same open file: closing the other, which may fail, must not unlock it
};

// Removes the new files of this target whose writers are gone.
void removeLeftovers(const std::filesystem::path& target) {
    const std::string beginning = companionOf(target, "-").filename().string();
    std::error_code fault;
    std::filesystem::directory_iterator entry(folderOf(target), fault);
    for (; !fault && entry != std::filesystem::directory_iterator(); entry.increment(fault)) {
        const std::string name = entry->path().filename().string();
        const bool isOurs = name.size() == beginning.size() + kDigits && name.starts_with(beginning) &&
                            name.find_first_not_of("0123456789", beginning.size()) == std::string::npos;
        std::error_code unknown;
        if (!isOurs || entry->symlink_status(unknown).type() != std::filesystem::file_type::regular) continue;
        const Descriptor leftover(open(entry->path().c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
        if (leftover && flock(leftover.number(), LOCK_EX | LOCK_NB) == 0) unlink(entry->path().c_str());
    }
}

}  // namespace

Result<std::string> readFile(const std::filesystem::path& file, std::size_t byteLimit) {
    struct stat status {};
    if (stat(file.c_str(), &status) != 0) return failureOfSystem(errno);
    if (!S_ISREG(status.st_mode)) return noFile(status.st_mode);
    const Descriptor descriptor(open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    // Again, because the name may belong to another file by now.
    if (!descriptor || fstat(descriptor.number(), &status) != 0) return failureOfSystem(errno);
    if (!S_ISREG(status.st_mode)) return noFile(status.st_mode);
    if (static_cast<std::uintmax_t>(status.st_size) > byteLimit) return tooLarge(byteLimit);
    constexpr std::size_t kPiece = 64 * 1024;
    std::size_t size = 0;
    // One byte more than there seems to be, so that the first read can show the end.
    std::string contents(static_cast<std::size_t>(status.st_size) + 1, '\0');
    for (;;) {
        if (size == contents.size()) contents.resize(size + kPiece);
        const ssize_t got = read(descriptor.number(), contents.data() + size, contents.size() - size);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return failureOfSystem(errno);
        if (got == 0) break;
        size += static_cast<std::size_t>(got);
        if (size > byteLimit) return tooLarge(byteLimit);
    }
    contents.resize(size);
    return contents;
}

Result<void> replaceFile(const std::filesystem::path& file, std::string_view contents) {
    const Result<Target> target = targetOf(file);
    if (!target) return target.failure();
    const Descriptor folder(open(folderOf(target->path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder && errno != EACCES) return failureOfSystem(errno);
    removeLeftovers(target->path);
    NewFile newFile(*target);
    if (auto created = newFile.create(); !created) return created;
    if (auto filled = newFile.fill(contents); !filled) return filled;
    if (auto placed = newFile.takePlace(); !placed) return placed;
    // The new name survives a power cut only when the folder is on the disk, too. A folder that may not be read, or
    // whose file system cannot flush it, is left to the system.
    if (folder && fsync(folder.number()) != 0 && errno != EINVAL && errno != EACCES) {
        return Failure{"its folder cannot be written: " + failureOfSystem(errno).reason};
    }
    return {};
}

Result<void> mayReplaceFile(const std::filesystem::path& file) {
    const Result<Target> target = targetOf(file);
    if (!target) return target.failure();
    if (faccessat(AT_FDCWD, folderOf(target->path).c_str(), W_OK | X_OK, AT_EACCESS) != 0) {
        return failureOfSystem(errno);
    }
    return {};
}

std::filesystem::path companionOf(const std::filesystem::path& file, std::string_view suffix) {
    constexpr std::size_t kLongest = 200;  // of the 255 bytes that a name may have
    std::string name = file.filename().string();
    if (name.size() > kLongest) {
        const QByteArray digest = QCryptographicHash::hash(
            QByteArray::fromRawData(name.data(), static_cast<qsizetype>(name.size())), QCryptographicHash::Md5);
        name.replace(kLongest / 2, std::string::npos, digest.toHex().toStdString());
    }
    return folderOf(file) / (".velmora-" + name).append(suffix);
}

}  // namespace velmora
