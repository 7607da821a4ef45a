#include "platform/mdns/Renewals.h"

#include <avahi-common/defs.h>
#include <avahi-common/domain.h>

#include <array>

#include "platform/mdns/PacketReader.h"

namespace velmora {

namespace {

// Avahi acts upon a goodbye after one second. After this time it was one that Avahi has not accepted.
constexpr std::chrono::seconds kGoodbyeTime{2};

constexpr std::uint32_t kReplyFlag = 0x8000;
// The highest bit of a class has a meaning of its own.
constexpr std::uint32_t kClassBits = 0x7fff;

// A name as it is in packets, in lower case. Empty for what is no name.
std::string folded(const std::string& wire) {
    return PacketReader({reinterpret_cast<const std::uint8_t*>(wire.data()), wire.size()}).nameHere().value_or("");
}

std::string wireName(const std::string& name) {
    std::string wire;
    std::array<char, AVAHI_LABEL_MAX> label{};
    for (const char* rest = name.c_str(); *rest != '\0';) {
        if (avahi_unescape_label(&rest, label.data(), label.size()) == nullptr) return {};
        const std::string text = label.data();
        wire += static_cast<char>(text.size()) + text;
    }
    wire += '\0';
    return folded(wire);
}

}  // namespace

void Renewals::watch(std::uint64_t question, const std::string& name) {
    watched_[question] = wireName(name);
}

void Renewals::unwatch(std::uint64_t question) {
    watched_.erase(question);
    std::erase_if(pointers_, [question](const auto& entry) { return std::get<0>(entry.first) == question; });
}

void Renewals::heard(const PacketFilter::Packet& packet) {
    if (watched_.empty()) return;
    // The filter has seen to it that all parts are there.
    PacketReader reader(packet.bytes);
    reader.skip(2);
    const auto flags = reader.number16();
    const auto questions = reader.number16();
    const auto answers = reader.number16();
    if (!answers || (*flags & kReplyFlag) == 0) return;
    reader.skip(4);
    for (unsigned i = 0; i < *questions; ++i) {
        if (!reader.skipName() || !reader.skip(4)) return;
    }
    for (unsigned i = 0; i < *answers; ++i) {
        const PacketReader owner = reader;
        reader.skipName();
        const auto type = reader.number16();
        const auto recordClass = reader.number16();
        const auto timeToLive = reader.number32();
        const auto length = reader.number16();
        const PacketReader data = reader;
        if (!length || !reader.skip(*length)) return;
        if (*type != AVAHI_DNS_TYPE_PTR || (*recordClass & kClassBits) != AVAHI_DNS_CLASS_IN) continue;
        const auto name = owner.nameHere();
        const auto target = data.nameHere();
        if (!name || !target) continue;
        for (const auto& [question, watchedName] : watched_) {
            if (*name != watchedName) continue;
            heardPointer({question, *target, packet.interface, packet.protocol}, *timeToLive == 0, packet.source);
        }
    }
}

void Renewals::heardPointer(const Pointer& pointer, bool isGoodbye, const std::string& source) {
    const auto found = pointers_.find(pointer);
    if (found == pointers_.end()) return;
    Standing& standing = found->second;
    if (standing.owner.empty()) standing.owner = source;
    if (standing.owner != source) return;
    const auto now = std::chrono::steady_clock::now();
    const auto goodbye = std::exchange(standing.goodbye, isGoodbye ? std::optional(now) : std::nullopt);
    if (isGoodbye || !goodbye || now - *goodbye > kGoodbyeTime) return;
    const auto& [question, data, interface, protocol] = pointer;
    // It said goodbye on other interfaces and over the other protocol, too, and comes back only once.
    for (auto other = pointers_.lower_bound({question, data, 0, 0});
         other != pointers_.end() && std::get<0>(other->first) == question && std::get<1>(other->first) == data;
         ++other) {
        other->second.goodbye.reset();
    }
    renewed_(question, interface, protocol, standing.data);
}

void Renewals::wasTold(std::uint64_t question, int interface, int protocol, const std::string& data, bool present) {
    if (!watched_.contains(question)) return;
    const Pointer pointer{question, folded(data), interface, protocol};
    if (present) {
        pointers_.try_emplace(pointer, Standing{data, {}, {}});
    } else {
        pointers_.erase(pointer);
    }
}

}  // namespace velmora
