// Cuts a stream of bytes into lines.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace velmora {

// LF CR, CR LF, LF and CR end a line. The first byte of a pair already ends it; its partner is skipped when it comes.
// Any other byte is part of the line. Holds at most kMaximumLength bytes. One thread at a time.
class LineReader {
  public:
    static constexpr std::size_t kMaximumLength = 1024;

    struct Line {
        std::string_view text;  // without its end; valid until the next call
        bool tooLong;           // the text is only the first kMaximumLength bytes of the line
    };

    // Takes bytes off the front of the chunk up to the next line end. None when the chunk holds no line end; then all
    // of it has been taken.
    std::optional<Line> next(std::string_view& chunk);

  private:
    void keep(std::string_view bytes);

    std::string kept_;  // the beginning of a line whose end has not come yet, or the line that was given out last
    bool keptTooLong_ = false;
    bool lineGivenOut_ = false;
    std::optional<char> partner_;
};

}  // namespace velmora
