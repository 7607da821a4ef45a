#include "switcher/MatrixSwitcher.h"

namespace velmora {

bool MatrixSwitcher::openPort(const std::string&) {
    return false;
}

std::int64_t MatrixSwitcher::selectedInputForOutput(std::int64_t) {
    return 0;
}

bool MatrixSwitcher::switchOutputToInput(std::int64_t, std::int64_t) {
    return false;
}

}  // namespace velmora
