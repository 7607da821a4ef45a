// What this process holds of the system.
#pragma once

#include <cstdint>

namespace velmora {

struct Holdings {
    std::int64_t threads = 0;
    std::int64_t descriptors = 0;
    std::int64_t children = 0;
    std::int64_t bytes = 0;  // allocated and not freed
};

Holdings holdingsNow();

}  // namespace velmora
