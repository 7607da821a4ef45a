// Output that waits for nobody: not for a terminal that was stopped, nor for the reader of a full pipe.
#pragma once

#include <sys/types.h>

#include <string_view>

namespace velmora {

// Writes as many of the bytes as the descriptor takes at once, and answers how many; -1, with the reason in errno, for
// none (EAGAIN: perhaps later). A regular file takes all. Any thread; a closed pipe raises SIGPIPE, as write does.
ssize_t writeAtOnce(int descriptor, std::string_view bytes);

}  // namespace velmora
