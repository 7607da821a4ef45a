// What can be told of a DNS record that was asked for.
#pragma once

#include <cstdint>

namespace velmora {

enum class RecordEvent : std::int32_t {
    came,
    went,  // was withdrawn, or has expired
    // Its interface, or the address there, has gone. Nobody has said that the record has.
    lost,
    // Was withdrawn and announced anew, so soon that it has not gone.
    renewed,
};

}  // namespace velmora
