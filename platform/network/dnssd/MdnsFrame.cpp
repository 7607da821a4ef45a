#include "platform/network/dnssd/MdnsFrame.h"

#include <cstring>
#include <type_traits>

namespace velmora {

namespace {

template <typename Value>
void append(std::string& bytes, const Value& value) {
    static_assert(std::is_trivially_copyable_v<Value>);
    bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

template <typename Value>
bool take(std::span<const std::uint8_t>& bytes, Value& value) {
    static_assert(std::is_trivially_copyable_v<Value>);
    if (bytes.size() < sizeof value) return false;
    std::memcpy(&value, bytes.data(), sizeof value);
    bytes = bytes.subspan(sizeof value);
    return true;
}

}  // namespace

std::optional<std::string> encodeMdnsFrame(const MdnsFrame& frame) {
    std::string bytes;
    append(bytes, frame.kind);
    append(bytes, frame.id);
    append(bytes, frame.numbers);
    for (const std::string& text : frame.texts) {
        if (text.size() > kMaximumMdnsFrame) return std::nullopt;
        append(bytes, static_cast<std::uint16_t>(text.size()));
        bytes += text;
    }
    if (bytes.size() > kMaximumMdnsFrame) return std::nullopt;
    return bytes;
}

std::optional<MdnsFrame> decodeMdnsFrame(std::span<const std::uint8_t> bytes) {
    MdnsFrame frame;
    std::uint8_t kind = 0;
    if (bytes.size() > kMaximumMdnsFrame) return std::nullopt;
    if (!take(bytes, kind) || !take(bytes, frame.id) || !take(bytes, frame.numbers)) return std::nullopt;
    if (kind > static_cast<std::uint8_t>(MdnsFrame::Kind::pong)) return std::nullopt;
    frame.kind = static_cast<MdnsFrame::Kind>(kind);
    while (!bytes.empty()) {
        std::uint16_t size = 0;
        if (!take(bytes, size) || bytes.size() < size) return std::nullopt;
        frame.texts.emplace_back(reinterpret_cast<const char*>(bytes.data()), size);
        bytes = bytes.subspan(size);
    }
    return frame;
}

}  // namespace velmora
