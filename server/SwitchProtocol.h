// The words of the wire protocol: one request line in, one reply text out.
#pragma once

#include <string>
#include <string_view>

#include "server/VirtualMatrix.h"

namespace velmora {

// Numbers on the wire are decimal, counted from 1, without sign or leading zeros; one blank separates the fields.
//
//     MATRIXSIZE        16x8        inputs x outputs
//     GET 3             3 5         output 3 is fed by input 5
//     SET 3 5           OK          feeds output 3 from input 5
//     INPUTLABEL 5      Camera 5    may be empty
//     OUTPUTLABEL 3     Monitor 3   may be empty
//     REFRESH           OK          nothing to do: the routes are always up to date
//
// Everything else, numbers that the matrix does not have included, is answered with ERROR and changes nothing.
// Holds no state of its own; any thread.
class SwitchProtocol {
  public:
    static constexpr std::string_view kAcknowledgement = "OK";
    static constexpr std::string_view kError = "ERROR";

    // The matrix is not owned.
    explicit SwitchProtocol(VirtualMatrix& matrix) : matrix_(matrix) {}

    // Appends the reply to a line (without its end) to a text, without a line end. What the line changes is changed by
    // this client.
    void answer(std::string_view line, std::string& reply, std::string_view client = {}) const;

  private:
    bool answerKnown(std::string_view line, std::string& reply, std::string_view client) const;

    VirtualMatrix& matrix_;
};

}  // namespace velmora
