// A video matrix switcher with numbered inputs and outputs, as the rest of the system sees it. Every index that crosses
// this interface counts from 0.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/foundation/NSObject.h"

namespace velmora {

// A matrix size: width is the number of inputs, height the number of outputs.
struct NSSize {
    double width = 0.0;
    double height = 0.0;
    friend bool operator==(const NSSize&, const NSSize&) = default;
};

class MatrixSwitcher;

class MatrixSwitcherDelegate {
  public:
    virtual ~MatrixSwitcherDelegate() = default;
    // The switcher has learnt its dimensions.
    virtual void matrixDimensionsChangedTo(MatrixSwitcher& switcher, NSSize size) = 0;
};

// Holds what every kind of switcher shares; each operation does nothing until a concrete kind overrides it. Main thread
// only.
class MatrixSwitcher : public NSObject {
  public:
    // True from the first port that was opened on; nothing ever sets it back.
    bool isOpen() const { return _isOpen; }
    virtual bool isConnected() const { return _isConnected; }
    virtual bool openPort(const std::string&) { return false; }
    virtual void closePort() {}

    // As last learnt from the device; 0 before.
    std::int64_t numberOfInputs() const { return _numberOfInputs; }
    std::int64_t numberOfOutputs() const { return _numberOfOutputs; }

    // The input routed to the output, both as indexes.
    virtual std::int64_t selectedInputForOutput(std::int64_t) { return 0; }
    // Routes to the output (the first index) the input (the second one). No caller reads the result; false here.
    virtual bool switchOutputToInput(std::int64_t, std::int64_t) { return false; }

    // A number that is stored and returned only.
    void setAddress(std::int64_t address) { _address = address; }
    std::int64_t address() const { return _address; }

    virtual void refresh() {}

    // The name under which it was opened; none before.
    const std::optional<std::string>& name() const { return _portName; }

    // Not owned.
    MatrixSwitcherDelegate* delegate() const { return delegate_; }
    virtual void setDelegate(MatrixSwitcherDelegate* delegate) { delegate_ = delegate; }

  protected:
    bool _isOpen = false;
    bool _isConnected = false;
    std::optional<std::string> _portName;
    std::int64_t _address = 0;
    std::int64_t _numberOfInputs = 0;
    std::int64_t _numberOfOutputs = 0;

  private:
    MatrixSwitcherDelegate* delegate_ = nullptr;
};

}  // namespace velmora
