#include "switcher/MatrixSwitcherOutput.h"

#include "switcher/MatrixSwitcher.h"

namespace velmora {

void MatrixSwitcherOutput::setInputAsInt(std::int32_t input) {
    _input = input == 0 ? 32 : input;
}

void MatrixSwitcherOutput::setInput(const PropertyList& input) {
    setInputAsInt(input.intValue());
    _device->switchOutputToInput(std::int64_t{_index} + 1, _input);
}

}  // namespace velmora
