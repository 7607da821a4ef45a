// What the replies of a switch server say. Any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "host/SettingsCheck.h"
#include "platform/foundation/Result.h"

namespace velmora {

struct SizeReply {
    MatrixSize size;
    bool isStrict;  // exactly two numbers and an "x", not just something that the plugin reads so
};
// As the plugin reads a reply to MATRIXSIZE; a failure says nothing but that it cannot be read.
Result<SizeReply> sizeInReply(std::string_view text);
// The input in a reply to "GET output"; the failure says what is wrong with it. An unknown number of inputs is 0.
Result<std::int64_t> inputInReply(std::string_view text, std::int64_t output, std::size_t inputs);

// The run of line ends that a reply has at its end; "" for none.
std::string_view lineEndOf(std::string_view reply);
// Control characters (general category Cc) are left out.
std::string withoutControlCharacters(std::string_view text);

}  // namespace velmora
