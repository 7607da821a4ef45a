#include "platform/foundation/NearestWord.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace velmora {

namespace {

// How many bytes have to be added, left out, replaced, or exchanged with their neighbour to turn one into the other.
std::size_t mistakesBetween(std::string_view left, std::string_view right) {
    // Of the texts' beginnings: row i holds those of the first i bytes on the left.
    std::vector<std::vector<std::size_t>> rows(left.size() + 1, std::vector<std::size_t>(right.size() + 1));
    for (std::size_t i = 0; i <= left.size(); ++i) {
        for (std::size_t j = 0; j <= right.size(); ++j) {
            std::size_t& least = rows[i][j];
            least = i + j;
            if (i == 0 || j == 0) continue;
            const std::size_t replaced = rows[i - 1][j - 1] + (left[i - 1] == right[j - 1] ? 0 : 1);
            least = std::min({rows[i - 1][j] + 1, rows[i][j - 1] + 1, replaced});
            const bool exchanged = i > 1 && j > 1 && left[i - 1] == right[j - 2] && left[i - 2] == right[j - 1];
            if (exchanged) least = std::min(least, rows[i - 2][j - 2] + 1);
        }
    }
    return rows.back().back();
}

}  // namespace

std::optional<std::string> nearestWord(std::string_view typed, std::span<const std::string_view> known) {
    std::optional<std::string> nearest;
    std::size_t least = 0;
    for (const std::string_view word : known) {
        const std::size_t allowed = (word.size() + 1) / 3;
        if (typed.empty() || typed.size() > word.size() + allowed) continue;  // also bounds the work
        const std::size_t mistakes = word.starts_with(typed) ? 1 : mistakesBetween(typed, word);
        if (mistakes > allowed || (nearest && mistakes >= least)) continue;
        nearest = word;
        least = mistakes;
    }
    return nearest;
}

}  // namespace velmora
