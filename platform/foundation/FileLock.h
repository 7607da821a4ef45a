// A file that one process at a time has for itself.
#pragma once

#include <chrono>
#include <filesystem>
#include <string>

#include "platform/foundation/Descriptor.h"
#include "platform/foundation/Result.h"

namespace velmora {

// Keeps out only those who ask for the lock, too. It is held on a hidden file beside the file, ".velmora-FILE.lock",
// because each replacing makes the file itself another one; whoever reaches the file through a link meets the same
// lock. It ends with its owner, however that ends: a killed process leaves an empty file, which keeps nobody out. Any
// thread; within one process, too, only one owner can have it.
class FileLock {
  public:
    // A failure when somebody else still has it after this time, or at once when nothing can be locked there, also
    // because something else than a file has the lock's name. The file itself need not exist.
    static Result<FileLock> take(const std::filesystem::path& file, std::chrono::milliseconds wait = {});
    FileLock(FileLock&&) = default;
    FileLock& operator=(FileLock&&) = delete;
    ~FileLock();

  private:
    FileLock(Descriptor descriptor, std::string name);

    Descriptor descriptor_;
    std::string name_;
};

}  // namespace velmora
