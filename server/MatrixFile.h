// Labels and state files: a matrix's contents as a JSON object with the lists "inputs" and "outputs" (labels) and
// "routes" (for each output the number of its input, counted from 1). Any of the lists may be missing or shorter than
// the matrix.
#pragma once

#include <optional>
#include <string>

#include "server/VirtualMatrix.h"

namespace velmora {

// None when the contents were read; otherwise the reason in words, without the file's name, and the contents stay as
// they are. Any thread.
std::optional<std::string> readMatrixFile(const std::string& path, MatrixContents& contents);

// Whoever reads the file sees the old or the new contents and never a part of either, whatever happens while it is
// written. None when it was written, otherwise the reason in words. Any thread, one at a time for one file.
std::optional<std::string> writeMatrixFile(const std::string& path, const MatrixContents& contents);

}  // namespace velmora
