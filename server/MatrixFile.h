// Labels and state files: a matrix's contents as a JSON object with the lists "inputs" and "outputs" (labels) and
// "routes" (for each output the number of its input, counted from 1). Any of the lists may be missing or shorter than
// the matrix.
#pragma once

#include <string>

#include "platform/foundation/Result.h"
#include "server/VirtualMatrix.h"

namespace velmora {

// The reasons do not name the file. Any thread.
Result<MatrixContents> readMatrixFile(const std::string& path);

// Whoever reads the file sees the old or the new contents and never a part of either, whatever happens while it is
// written.
Result<void> writeMatrixFile(const std::string& path, const MatrixContents& contents);

}  // namespace velmora
