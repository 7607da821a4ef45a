#include "platform/network/discovery/NetworkRecord.h"

#include <algorithm>

namespace velmora {

namespace {

bool isUnicast(const std::string& address) {
    const bool unspecified = std::all_of(address.begin(), address.end(), [](char byte) { return byte == 0; });
    const auto first = static_cast<std::uint8_t>(address[0]);
    // From 224.0.0.0 on IPv4 has no addresses of hosts; ff00::/8 is IPv6 multicast.
    const bool multicast = address.size() == 4 ? first >= 224 : first == 0xff;
    return !unspecified && !multicast;
}

}  // namespace

std::optional<NetworkRecord> networkRecord(int interface, int protocol, const AvahiRecord& record) {
    NetworkRecord result{interface, protocol, {}, 0, {}};
    const auto& data = record.data;
    switch (record.key->type) {
        case AVAHI_DNS_TYPE_PTR:
            result.target = data.ptr.name;
            break;
        case AVAHI_DNS_TYPE_SRV:
            if (data.srv.port == 0) return std::nullopt;
            result.target = data.srv.name;
            result.port = data.srv.port;
            break;
        case AVAHI_DNS_TYPE_A: {
            const auto* bytes = reinterpret_cast<const char*>(&data.a.address.address);
            result.address.assign(bytes, bytes + sizeof data.a.address.address);
            break;
        }
        case AVAHI_DNS_TYPE_AAAA:
            result.address.assign(std::begin(data.aaaa.address.address), std::end(data.aaaa.address.address));
            break;
        default:
            return std::nullopt;
    }
    if (result.address.empty() ? result.target.empty() || result.target == "." : !isUnicast(result.address)) {
        return std::nullopt;
    }
    return result;
}

}  // namespace velmora
