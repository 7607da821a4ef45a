// One DNS record as it was seen on one interface, and how it is read.
#pragma once

#include <avahi-common/defs.h>

#include <compare>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace velmora {

// Which fields are used depends on the record's type: pointer, service location, or address.
struct NetworkRecord {
    int interface = 0;       // index
    int protocol = 0;        // over which it was heard: AVAHI_PROTO_INET or AVAHI_PROTO_INET6
    std::string target;      // what a pointer points to, or the host of a service, escaped as Avahi writes names
    std::uint16_t port = 0;  // host byte order
    std::string address;     // 4 or 16 bytes in network order
    // Of a service location. Nobody chooses by them, but locations that differ only in them come and go separately.
    std::uint16_t priority = 0;
    std::uint16_t weight = 0;

    friend auto operator<=>(const NetworkRecord&, const NetworkRecord&) = default;
};

// Reads the data of a record of type PTR, SRV, A or AAAA, in which names are not compressed. None for another type, for
// malformed data, and for a record that leads nowhere: without a target, a port, or a unicast address. Any thread.
std::optional<NetworkRecord> networkRecord(int interface, int protocol, std::uint16_t type,
                                           std::span<const std::uint8_t> data);

}  // namespace velmora
