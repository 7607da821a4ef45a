// Property lists as XML, in and out, and as files. Any thread.
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "platform/foundation/PropertyList.h"

namespace velmora {

// What arrives is bounded: a document of more bytes or values, or nested deeper, is refused. The same bounds hold for
// what is written, so that it can be read again.
inline constexpr std::size_t kPropertyListByteLimit = 16 * 1024 * 1024;
inline constexpr std::size_t kPropertyListValueLimit = 100'000;
inline constexpr int kPropertyListDepthLimit = 64;

// The value, or none and in `error` (when given) one sentence that says what is wrong with the document. Dates, data
// and binary property lists are refused, as are declarations in a DOCTYPE and names with a colon; of a key that stands
// twice in a dictionary, the last value counts. Control characters that XML does not have are read as U+FFFD, and the
// encoding is UTF-8 whatever the document says.
std::optional<PropertyList> propertyListWithXML(std::string_view xml, std::string* error = nullptr);

// The document, ending in a line feed; none and an `error` when the value is too large, nested too deeply or contains
// itself. Control characters that XML cannot hold (those below U+0020 but for tab, line feed and carriage return),
// U+FFFE, U+FFFF and bytes that are not UTF-8 are written as U+FFFD; what else a terminal would obey is written as a
// reference.
std::optional<std::string> XMLWithPropertyList(const PropertyList& value, std::string* error = nullptr);

// The errors name the file.
std::optional<PropertyList> propertyListWithContentsOfFile(const std::filesystem::path& file,
                                                           std::string* error = nullptr);
// Written atomically. False and an `error` when that failed; the old file then stands unchanged.
bool writePropertyListToFile(const PropertyList& value, const std::filesystem::path& file,
                             std::string* error = nullptr);

}  // namespace velmora
