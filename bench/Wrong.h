// Ends the whole benchmark because something did not work. Being slow never does.
#pragma once

#include <stdexcept>

namespace velmora::bench {

struct Wrong : std::runtime_error {
    using std::runtime_error::runtime_error;
};

}  // namespace velmora::bench
