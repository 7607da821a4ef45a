// Whatever velmora-mdns sends, discovery understands it or ends the connection.
#include <sys/socket.h>

#include <array>

#include "fuzz/Fuzz.h"
#include "platform/network/dnssd/ProgramBackend.h"

namespace velmora::fuzz {
namespace {

constexpr int kMaximumFrames = 16;

void checkRecord(const NetworkRecord& record, std::uint16_t type) {
    const bool isAddress = type == AVAHI_DNS_TYPE_A || type == AVAHI_DNS_TYPE_AAAA;
    require(record.target.empty() == isAddress, "a record leads to a name or to an address");
    require(record.address.size() == (type == AVAHI_DNS_TYPE_A      ? 4
                                      : type == AVAHI_DNS_TYPE_AAAA ? 16
                                                                    : 0),
            "an address has the size of its family");
    require((record.port != 0) == (type == AVAHI_DNS_TYPE_SRV), "a location has a port");
    require(record.target.find('\0') == std::string::npos && isValidUTF8(record.target), "an escaped name is a text");
}

std::string frameFrom(FuzzedDataProvider& input) {
    if (input.ConsumeBool()) return input.ConsumeRandomLengthString(kMaximumMdnsFrame + 1);
    MdnsFrame frame;
    frame.kind = static_cast<MdnsFrame::Kind>(input.ConsumeIntegralInRange(0, static_cast<int>(MdnsFrame::Kind::pong)));
    frame.id = input.ConsumeIntegralInRange<std::uint64_t>(0, 8);
    for (auto& number : frame.numbers)
        number = input.ConsumeIntegralInRange(-2, 8);
    for (int count = input.ConsumeIntegralInRange(0, 2); count > 0; --count)
        frame.texts.push_back(input.ConsumeRandomLengthString(300));
    return encodeMdnsFrame(frame).value_or("");
}

void run(FuzzedDataProvider& input) {
    std::array<int, 2> ends{};
    require(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) == 0, "a connection can be had");
    DiscoveryLoop loop;
    {
        ProgramBackend backend(loop, ChildProgram(ends[0], -1), {}, true, [] {});
        std::vector<std::unique_ptr<RecordQuery>> queries;
        for (const std::uint16_t type : {AVAHI_DNS_TYPE_PTR, AVAHI_DNS_TYPE_SRV, AVAHI_DNS_TYPE_A, AVAHI_DNS_TYPE_AAAA})
            queries.push_back(
                backend.query("name.local", type, [&queries, type](const NetworkRecord& record, RecordEvent) {
                    checkRecord(record, type);
                    queries[0] = nullptr;  // a handler may end any question, even its own
                }));
        const auto group = backend.makeEntryGroup([](AvahiEntryGroupState) {});
        for (int frames = 0; input.remaining_bytes() > 0 && frames < kMaximumFrames && !backend.hasFailed(); ++frames) {
            const std::string bytes = frameFrom(input);
            send(ends[1], bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
            loop.wait();
            require(bytes.size() <= kMaximumMdnsFrame || backend.hasFailed(), "what is too long is refused");
        }
    }
    close(ends[1]);
}

}  // namespace
}  // namespace velmora::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    velmora::fuzz::run(input);
    return 0;
}
