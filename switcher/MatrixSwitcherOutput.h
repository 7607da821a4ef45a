// One output of a switcher, which remembers the input routed to it and routes another when it is set.
#pragma once

#include <cstdint>

#include "platform/foundation/NSObject.h"
#include "platform/foundation/PropertyList.h"
#include "switcher/MatrixSwitcher.h"

namespace velmora {

// Main thread only.
class MatrixSwitcherOutput final : public NSObject {
  public:
    // The device is not owned and must outlive the output; the index counts from 0.
    MatrixSwitcherOutput(MatrixSwitcher* device, std::int32_t index) : _index(index), _device(device) {}

    // Stores the number without talking to the switcher. 0 is stored as 32; that is intended.
    void setInputAsInt(std::int32_t input) { _input = input == 0 ? 32 : input; }
    // Stores the number and routes. The switcher is given an output one above the index, and the input as stored; that
    // is intended.
    void setInput(const PropertyList& input) {
        setInputAsInt(input.intValue());
        _device->switchOutputToInput(std::int64_t{_index} + 1, _input);
    }

    PropertyList input() const { return PropertyList(_input); }
    std::int32_t inputAsInt() const { return _input; }

  private:
    std::int32_t _input = 1;
    const std::int32_t _index;
    MatrixSwitcher* const _device;
};

}  // namespace velmora
