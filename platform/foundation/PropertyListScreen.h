// Looks through an XML property list before the parser library sees it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace velmora {

// The document written again in its plainest form (no prolog, comments, attributes or character references), or none
// and in `error` one sentence, with the line where it applies. Everything that the library would misread, crash on or
// take very long for is refused here or has been written differently; what it gets is well formed, small and shallow.
// Any thread.
std::optional<std::string> plainPropertyListXML(std::string_view xml, std::string& error);

}  // namespace velmora
