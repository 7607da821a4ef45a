// A Unix stream socket under a name in the file system, for the user who runs the program alone.
#pragma once

#include <sys/stat.h>

#include <string>

#include "platform/foundation/Descriptor.h"
#include "platform/foundation/FileLock.h"
#include "platform/foundation/Result.h"

namespace velmora {

// One thread. The file is removed with its owner.
class SocketFile {
  public:
    // Listens, without waiting in accept. A socket that a killed program has left is replaced; one that somebody
    // listens on, and whatever is no socket, is a failure and left alone. The reasons do not name the file.
    static Result<SocketFile> listen(const std::string& path);
    SocketFile(SocketFile&&) = default;
    SocketFile& operator=(SocketFile&&) = delete;
    ~SocketFile();

    int descriptor() const { return descriptor_.number(); }

  private:
    SocketFile(Descriptor descriptor, FileLock lock, std::string path);

    Descriptor descriptor_;
    FileLock lock_;  // keeps out other servers that find the same socket left over at the same time
    std::string path_;
    struct stat status_ {};
};

}  // namespace velmora
