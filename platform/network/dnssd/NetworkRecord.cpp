#include "platform/network/dnssd/NetworkRecord.h"

#include <avahi-common/domain.h>

#include <algorithm>
#include <array>

namespace velmora {

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t kMaximumNameBytes = 255;
constexpr std::size_t kMaximumLabelBytes = 63;

bool isUnicast(const std::string& address) {
    const bool unspecified = std::all_of(address.begin(), address.end(), [](char byte) { return byte == 0; });
    const auto first = static_cast<std::uint8_t>(address[0]);
    // No host has an IPv4 address from 224.0.0.0 upward; ff00::/8 is IPv6 multicast.
    const bool multicast = address.size() == 4 ? first >= 224 : first == 0xff;
    return !unspecified && !multicast;
}

// Labels up to an empty one, which must end the data. None, too, for the name without labels, which nobody has.
std::optional<std::string> nameIn(Bytes data) {
    if (data.size() > kMaximumNameBytes) return std::nullopt;
    std::string name;
    while (!data.empty() && data[0] != 0) {
        const std::size_t length = data[0];
        // A greater length would be a reference to another part of the packet, and there is no packet here.
        if (length > kMaximumLabelBytes || data.size() <= length) return std::nullopt;
        // Escaping makes four bytes of one at most.
        std::array<char, 4 * kMaximumLabelBytes + 1> escaped;
        char* end = escaped.data();
        std::size_t room = escaped.size();
        if (avahi_escape_label(reinterpret_cast<const char*>(data.data()) + 1, length, &end, &room) == nullptr)
            return std::nullopt;
        if (!name.empty()) name += '.';
        name += escaped.data();
        data = data.subspan(1 + length);
    }
    if (data.size() != 1 || name.empty()) return std::nullopt;
    return name;
}

}  // namespace

std::optional<NetworkRecord> networkRecord(int interface, int protocol, std::uint16_t type, Bytes data) {
    NetworkRecord result{interface, protocol, {}, 0, {}};
    if (type == AVAHI_DNS_TYPE_A || type == AVAHI_DNS_TYPE_AAAA) {
        if (data.size() != (type == AVAHI_DNS_TYPE_A ? 4 : 16)) return std::nullopt;
        result.address.assign(data.begin(), data.end());
        if (!isUnicast(result.address)) return std::nullopt;
        return result;
    }
    if (type == AVAHI_DNS_TYPE_SRV) {
        if (data.size() < 6) return std::nullopt;
        const auto number = [data](std::size_t at) { return static_cast<std::uint16_t>(data[at] << 8 | data[at + 1]); };
        result.priority = number(0);
        result.weight = number(2);
        result.port = number(4);
        if (result.port == 0) return std::nullopt;
        data = data.subspan(6);
    } else if (type != AVAHI_DNS_TYPE_PTR) {
        return std::nullopt;
    }
    const auto name = nameIn(data);
    if (!name) return std::nullopt;
    result.target = *name;
    return result;
}

}  // namespace velmora
