#include "platform/mdns/PacketReader.h"

namespace velmora {

namespace {

constexpr std::size_t kMaximumNameBytes = 255;
constexpr std::size_t kMaximumLabelBytes = 63;
// The two highest bits of a length say that it is a reference instead.
constexpr std::size_t kReference = 0xc0;

char lowered(std::uint8_t byte) {
    return static_cast<char>(byte >= 'A' && byte <= 'Z' ? byte + ('a' - 'A') : byte);
}

}  // namespace

std::optional<std::uint32_t> PacketReader::number(std::size_t bytes) {
    if (packet_.size() - position_ < bytes) return std::nullopt;
    std::uint32_t value = 0;
    for (const std::uint8_t byte : packet_.subspan(position_, bytes)) {
        value = value << 8 | byte;
    }
    position_ += bytes;
    return value;
}

bool PacketReader::skip(std::size_t count) {
    if (packet_.size() - position_ < count) return false;
    position_ += count;
    return true;
}

bool PacketReader::skipName() {
    while (position_ < packet_.size()) {
        const std::size_t length = packet_[position_];
        if (length >= kReference) return skip(2);
        if (length > kMaximumLabelBytes || !skip(1 + length)) return false;
        if (length == 0) return true;
    }
    return false;
}

std::optional<std::string> PacketReader::nameHere() const {
    std::string name;
    std::size_t at = position_;
    std::size_t earliest = position_;
    while (at < packet_.size()) {
        const std::size_t length = packet_[at];
        if (length >= kReference) {
            if (at + 1 >= packet_.size()) return std::nullopt;
            at = (length - kReference) * 256 + packet_[at + 1];
            // Each leads further to the front, so there is an end.
            if (at >= earliest) return std::nullopt;
            earliest = at;
            continue;
        }
        if (length > kMaximumLabelBytes || packet_.size() - at <= length) return std::nullopt;
        if (name.size() + 1 + length > kMaximumNameBytes) return std::nullopt;
        name += static_cast<char>(length);
        for (const std::uint8_t byte : packet_.subspan(at + 1, length)) {
            name += lowered(byte);
        }
        if (length == 0) return name;
        at += 1 + length;
    }
    return std::nullopt;
}

}  // namespace velmora
