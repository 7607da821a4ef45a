// Property lists as XML, in and out, and as files. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/PropertyList.h"
#include "platform/foundation/Result.h"

namespace velmora {

// Bounds of the documents that are read: one of more bytes or values, or nested deeper, is refused. The same bounds
// hold for writing, so that each document can be read again.
inline constexpr std::size_t kPropertyListByteLimit = 16 * 1024 * 1024;
inline constexpr std::size_t kPropertyListValueLimit = 100'000;
inline constexpr int kPropertyListDepthLimit = 64;
// Bytes of one tag, the DOCTYPE or the XML declaration; what is written stays far below. Qt compares each attribute of
// a tag with all others.
inline constexpr std::size_t kPropertyListTagLimit = 1024;

// Dates, data and binary property lists are refused, as are declarations in a DOCTYPE and names with a colon. Where a
// dictionary has a key twice, the last value counts. Control characters that XML does not have are read as U+FFFD. The
// encoding is UTF-8, whatever the document says.
Result<PropertyList> propertyListWithXML(std::string_view xml);

struct PropertyListDocument {
    struct RepeatedKey {
        std::int64_t line;
        std::string key;
    };
    PropertyList value;
    std::vector<RepeatedKey> repeatedKeys;  // each of which its dictionary had already
};
// The same, with what the value does not show of the document.
Result<PropertyListDocument> propertyListDocumentWithXML(std::string_view xml);

// The document, ending in a line feed; a failure when the value is too large, nested too deeply or contains itself.
// Control characters that XML cannot hold (those below U+0020 but for tab, line feed and carriage return), U+FFFE,
// U+FFFF and bytes that are not UTF-8 are written as U+FFFD. Everything else that a terminal would obey is written as a
// reference.
Result<std::string> XMLWithPropertyList(const PropertyList& value);

// The text as it will be read from such a document.
std::string textInPropertyList(std::string_view text);

// The reasons of both name the file. It is written atomically; on failure the old file stands unchanged.
Result<PropertyList> propertyListWithContentsOfFile(const std::filesystem::path& file);
Result<void> writePropertyListToFile(const PropertyList& value, const std::filesystem::path& file);

}  // namespace velmora
