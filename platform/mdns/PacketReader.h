// A DNS packet, part by part.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace velmora {

// Reads from front to back, and nothing past the end.
class PacketReader {
  public:
    explicit PacketReader(std::span<const std::uint8_t> packet) : packet_(packet) {}

    std::optional<std::uint32_t> number16() { return number(2); }
    std::optional<std::uint32_t> number32() { return number(4); }
    bool skip(std::size_t count);
    // Labels up to an empty one or a reference to an earlier name.
    bool skipName();
    // The labels with their lengths, references followed, in lower case: names that differ only in that are the same.
    // Does not go past the name.
    std::optional<std::string> nameHere() const;

  private:
    std::optional<std::uint32_t> number(std::size_t bytes);

    std::span<const std::uint8_t> packet_;
    std::size_t position_ = 0;
};

}  // namespace velmora
