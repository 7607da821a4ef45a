// Whole files, read and replaced. Any thread. False leaves the reason in errno.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

namespace velmora {

// A regular file only. Reads up to one byte more than the limit, so that a larger file is known as such.
bool readFile(const std::filesystem::path& file, std::size_t byteLimit, std::string& contents);

// Atomically: a new file beside it is flushed to the disk, then renamed over it; when that fails, the old file stands
// unchanged. A symbolic link stays one; the file that it leads to is replaced, and has to be there. What is no regular
// file is not replaced. The permissions stay, and so do owner and group as far as the system lets this process give
// files away.
bool replaceFile(const std::filesystem::path& file, std::string_view contents);

}  // namespace velmora
