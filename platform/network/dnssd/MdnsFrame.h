// The messages between a process that discovers and velmora-mdns, the program that speaks multicast DNS for it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace velmora {

// One message of a SOCK_SEQPACKET socket pair, which keeps messages apart. Both ends are on one machine and come out of
// one build: numbers are in the machine's order, and kMdnsFrameVersion finds out programs that are not of one build.
struct MdnsFrame {
    enum class Kind : std::uint8_t {
        // From the host.
        start,     // first of all; numbers: kMdnsFrameVersion, 1 to publish; texts: interfaces to use, none for all
        ask,       // id: a new question's; numbers: record type; texts: name
        endAsk,    // id: the question's
        announce,  // id: a group's, new or to be filled anew; numbers: port; texts: service name, type, domain
        withdraw,  // id: the group's
        ping,      // wants a pong
        // From the program.
        serverState,  // numbers: AvahiServerState, Avahi's error when that is a failure
        record,       // id: the question's; numbers: RecordEvent, interface, protocol; texts: the record's data
        groupState,   // id: the group's; numbers: AvahiEntryGroupState
        pong,
    };
    Kind kind = Kind::ping;
    std::uint64_t id = 0;
    std::array<std::int32_t, 3> numbers{};
    std::vector<std::string> texts;  // any bytes
};

inline constexpr std::int32_t kMdnsFrameVersion = 2;
// Encoded, in bytes.
inline constexpr std::size_t kMaximumMdnsFrame = 8 * 1024;
// The program's end of the socket pair.
inline constexpr int kMdnsDescriptor = 3;

// None when the frame would be too long. Any thread, as below.
std::optional<std::string> encodeMdnsFrame(const MdnsFrame& frame);
// None when the bytes are no frame. What is in a frame still has to be judged.
std::optional<MdnsFrame> decodeMdnsFrame(std::span<const std::uint8_t> bytes);

}  // namespace velmora
