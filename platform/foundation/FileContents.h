// Whole files, read and replaced: the one place that does. Any thread, and any number of processes at once.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

#include "platform/foundation/Result.h"

namespace velmora {

// A regular file only; nothing else is opened, because that alone may wait or set something going. Takes the memory of
// what is there. A file of more bytes than the limit is a failure.
Result<std::string> readFile(const std::filesystem::path& file, std::size_t byteLimit);

// Atomically: a new file beside it is flushed to the disk, then renamed over it. When that fails, the old file stands
// unchanged; only where the folder cannot be flushed, which comes last and is a failure, too, the new one is there,
// though perhaps not after a power cut.
// A symbolic link stays one; the file that it leads to is replaced, and has to be there. What is no regular file, or
// what this process may not write to, is not replaced. The owner, the permissions and the access list stay. Where the
// system does not let this process give the new file to the owner of the old one, which is root's right, the old one is
// not replaced either, although this process may write to it: in place would not be atomic. A group that this process
// is not in loses its permissions, and the access list goes with it; other attributes and further hard links do not
// follow.
// The new file is called ".velmora-FILE-" and eight digits while it is written. One that was left behind, because its
// writer was killed, is removed by the next who replaces this file.
Result<void> replaceFile(const std::filesystem::path& file, std::string_view contents);

// Whether it looks as if replaceFile would work: said before long work, not a promise.
Result<void> mayReplaceFile(const std::filesystem::path& file);

// The hidden file of that folder that is called ".velmora-FILE" and the suffix; of a very long FILE the end is replaced
// by a checksum of the whole.
std::filesystem::path companionOf(const std::filesystem::path& file, std::string_view suffix);

}  // namespace velmora
