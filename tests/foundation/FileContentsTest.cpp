#include "platform/foundation/FileContents.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <QDir>
#include <QTemporaryDir>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <thread>

#include "platform/foundation/Descriptor.h"
#include "platform/foundation/FileLock.h"

namespace velmora {
namespace {

namespace fs = std::filesystem;

struct FileContents : testing::Test {
    QStringList names() const { return QDir(temporary.path()).entryList(QDir::Files | QDir::Hidden, QDir::Name); }

    const QTemporaryDir temporary;
    const fs::path folder = temporary.path().toStdString();
    const fs::path file = folder / "file";
};

TEST_F(FileContents, takesTheMemoryOfWhatIsThereAndRefusesWhatIsNoFileOrTooLarge) {
    ASSERT_TRUE(replaceFile(file, "contents"));
    const auto read = readFile(file, std::size_t{1} << 40);
    ASSERT_TRUE(read);
    EXPECT_EQ(*read, "contents");
    EXPECT_LT(read->capacity(), 100'000U);
    EXPECT_TRUE(readFile(file, 8));
    EXPECT_GT(readFile("/proc/self/status", 100'000)->size(), 100U) << "a file without a size";
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    ASSERT_EQ(truncate(file.c_str(), std::int64_t{1} << 40), 0);
    const std::pair<fs::path, const char*> table[] = {
        {folder / "pipe", "it is a pipe, not a file"},
        {folder, "it is a folder, not a file"},
        {"/dev/zero", "it is a device, not a file"},
        {folder / "missing" / "file", "No such file or directory"},
    };
    for (const auto& [path, reason] : table) {
        EXPECT_EQ(readFile(path, 1000).failure().reason, reason) << path;
        EXPECT_EQ(mayReplaceFile(path).failure().reason, reason) << path;
        EXPECT_EQ(replaceFile(path, "").failure().reason, reason) << path;
    }
    for (const fs::path& large : {file, fs::path("/proc/self/status")}) {
        EXPECT_EQ(readFile(large, 1000).failure().reason, "it is larger than 1000 bytes") << large;
    }
    EXPECT_TRUE(fs::is_fifo(folder / "pipe"));
}

TEST_F(FileContents, replaceWhatALinkLeadsToWhichKeepsOwnerAndPermissions) {
    ASSERT_TRUE(replaceFile(file, "first"));
    [[maybe_unused]] const int given = chown(file.c_str(), 1234, 1234);  // for root only
    ASSERT_EQ(chmod(file.c_str(), 0640), 0);
    const auto owned = [this] {
        struct stat status {};
        EXPECT_EQ(stat(file.c_str(), &status), 0);
        return std::tuple(status.st_mode, status.st_uid, status.st_gid);
    };
    const auto before = owned();
    const fs::path link = folder / "link", dangling = folder / "dangling";
    fs::create_symlink(file, link);
    fs::create_symlink(folder / "nowhere", dangling);
    ASSERT_TRUE(replaceFile(link, "second"));
    EXPECT_EQ(owned(), before);
    EXPECT_EQ(*readFile(file, 10), "second");
    EXPECT_FALSE(replaceFile(dangling, "x"));
    EXPECT_TRUE(fs::is_symlink(link) && fs::is_symlink(dangling));
}

TEST_F(FileContents, leaveTheOldOnesWhereTheyStandWhenTheyCannotBeReplaced) {
    ASSERT_TRUE(replaceFile(file, "old"));
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit two{2, before.rlim_max};
    const auto signalBefore = std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &two);
    const Result<void> tooLarge = replaceFile(file, "new");
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, signalBefore);
    EXPECT_EQ(tooLarge.failure().reason, "File too large");

    ASSERT_EQ(chmod(folder.c_str(), 0777), 0);
    const uid_t user = geteuid();
    const auto replacedByAnother = [&](mode_t permissions) {
        EXPECT_EQ(chmod(file.c_str(), permissions), 0);
        EXPECT_EQ(seteuid(user == 0 ? 1234 : user), 0);  // root may write to everything
        const Result<void> replaced = replaceFile(file, "new");
        EXPECT_EQ(seteuid(user), 0);
        return replaced ? "replaced" : replaced.failure().reason;
    };
    EXPECT_EQ(replacedByAnother(0444), "it is write-protected");
    if (user == 0) {
        EXPECT_EQ(replacedByAnother(0666), "it belongs to another user; only that user or root can replace it");
    }

    EXPECT_EQ(*readFile(file, 10), "old");
    EXPECT_EQ(names(), QStringList{"file"});
}

TEST_F(FileContents, ofAKilledWriterAreRemovedByTheNextOneAndNobodyElses) {
    const QStringList others{".velmora-file-1-12345678", ".velmora-file-123.lock", ".velmora-file-87654321"};
    for (const QString& name : others + QStringList{".velmora-file-12345678"}) {
        std::ofstream(folder / name.toStdString()) << "half";
    }
    const Descriptor writer(open((folder / ".velmora-file-87654321").c_str(), O_WRONLY | O_CLOEXEC));
    ASSERT_EQ(flock(writer.number(), LOCK_EX), 0);
    ASSERT_TRUE(replaceFile(file, "whole"));
    EXPECT_EQ(names(), others + QStringList{"file"});
}

TEST_F(FileContents, letInWhomTheAccessListOfTheOldOnesLetsInAndNobodyElse) {
    // As the kernel keeps it: a version, then kind, permissions and user of each entry. User 1234 may read.
    std::string list("\2\0\0\0", 4);
    for (const auto& [kind, permissions, user] :
         {std::array{1, 6, -1}, {2, 4, 1234}, {4, 0, -1}, {16, 4, -1}, {32, 0, -1}}) {
        for (const int byte : {kind, 0, permissions, 0, user, user >> 8, user >> 16, user >> 24}) {
            list += static_cast<char>(byte);
        }
    }
    constexpr const char* kOfFile = "system.posix_acl_access";
    const auto listOfFile = [this] {
        std::string read(1000, ' ');
        read.resize(std::max<ssize_t>(getxattr(file.c_str(), kOfFile, read.data(), read.size()), 0));
        return read;
    };
    ASSERT_TRUE(replaceFile(file, "old"));
    ASSERT_EQ(setxattr(file.c_str(), kOfFile, list.data(), list.size(), 0), 0) << std::strerror(errno);
    ASSERT_TRUE(replaceFile(file, "new"));
    EXPECT_EQ(listOfFile(), list);
    ASSERT_EQ(removexattr(file.c_str(), kOfFile), 0);
    ASSERT_EQ(chmod(file.c_str(), 0640), 0);
    ASSERT_EQ(setxattr(folder.c_str(), "system.posix_acl_default", list.data(), list.size(), 0), 0);
    ASSERT_TRUE(replaceFile(file, "newer"));
    EXPECT_EQ(listOfFile(), "") << "a folder lets others in to its new files, and this is none";
}

TEST_F(FileContents, eachHaveALockOfTheirOwnAndOnlyAFileServesAsOne) {
    const std::string longName(200, 'n');
    const auto first = FileLock::take(folder / (longName + "1"));
    EXPECT_FALSE(FileLock::take(folder / (longName + "1")));
    EXPECT_TRUE(FileLock::take(folder / (longName + "2")));
    const fs::path lock = companionOf(file, ".lock");
    EXPECT_EQ(FileLock::take("/proc/file").failure().reason.find("/proc/.velmora-file.lock: "), 0U);
    fs::create_directory(lock);
    EXPECT_EQ(FileLock::take(file).failure().reason, lock.string() + " is not a file");
    fs::remove(lock);
    ASSERT_EQ(mkfifo(lock.c_str(), 0600), 0);
    EXPECT_EQ(FileLock::take(file).failure().reason, lock.string() + " is not a file");
    EXPECT_TRUE(fs::is_fifo(lock));
}

TEST_F(FileContents, areWholeWhenManyWriteThem) {
    ASSERT_TRUE(replaceFile(file, "x"));
    const auto write = [this](char letter) {
        for (int turn = 0; turn < 50; ++turn) {
            EXPECT_TRUE(replaceFile(file, std::string(100'000, letter)));
        }
    };
    std::jthread first(write, 'a'), second(write, 'b');
    for (int turn = 0; turn < 100; ++turn) {
        const auto read = readFile(file, 1'000'000);
        EXPECT_EQ(read->find_first_not_of(read->at(0)), std::string::npos);
    }
    first.join();
    second.join();
    EXPECT_EQ(names(), QStringList{"file"});
}

}  // namespace
}  // namespace velmora
