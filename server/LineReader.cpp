#include "server/LineReader.h"

#include <algorithm>
#include <utility>

namespace velmora {

std::optional<LineReader::Line> LineReader::next(std::string_view& chunk) {
    if (std::exchange(lineGivenOut_, false)) {
        kept_.clear();
        keptTooLong_ = false;
    }
    if (!chunk.empty() && std::exchange(partner_, std::nullopt) == chunk.front()) chunk.remove_prefix(1);
    const std::size_t end = chunk.find_first_of("\r\n");
    if (end == std::string_view::npos) {
        keep(std::exchange(chunk, {}));
        return std::nullopt;
    }
    const std::string_view text = chunk.substr(0, end);
    partner_ = chunk[end] == '\n' ? '\r' : '\n';
    chunk.remove_prefix(end + 1);
    // The usual case: the whole line is in the chunk and need not be copied.
    if (kept_.empty() && text.size() <= kMaximumLength) return Line{text, false};
    keep(text);
    lineGivenOut_ = true;
    return Line{kept_, keptTooLong_};
}

void LineReader::keep(std::string_view bytes) {
    const std::size_t taken = std::min(bytes.size(), kMaximumLength - kept_.size());
    kept_.append(bytes.substr(0, taken));
    if (taken < bytes.size()) keptTooLong_ = true;
}

}  // namespace velmora
