#include "host/Nearest.h"

#include <algorithm>
#include <cstddef>

namespace velmora {

namespace {

// No word of ours is longer; longer ones are near to none.
constexpr std::size_t kLongestWord = 40;
constexpr std::size_t kShortestBeginning = 3;

// How many characters must be changed, put in, taken out or swapped with their neighbour.
std::size_t distance(std::string_view left, std::string_view right) {
    std::vector<std::vector<std::size_t>> steps(left.size() + 1, std::vector<std::size_t>(right.size() + 1));
    for (std::size_t i = 0; i <= left.size(); ++i) {
        for (std::size_t j = 0; j <= right.size(); ++j) {
            if (i == 0 || j == 0) {
                steps[i][j] = i + j;
                continue;
            }
            const std::size_t other = left[i - 1] == right[j - 1] ? 0 : 1;
            steps[i][j] = std::min({steps[i - 1][j] + 1, steps[i][j - 1] + 1, steps[i - 1][j - 1] + other});
            const bool areSwapped = i > 1 && j > 1 && left[i - 1] == right[j - 2] && left[i - 2] == right[j - 1];
            if (areSwapped) steps[i][j] = std::min(steps[i][j], steps[i - 2][j - 2] + 1);
        }
    }
    return steps[left.size()][right.size()];
}

}  // namespace

std::optional<std::string_view> nearestWord(std::string_view typed, const std::vector<std::string_view>& words) {
    if (typed.size() > kLongestWord) return std::nullopt;
    std::optional<std::string_view> nearest;
    std::size_t least = 0;
    for (const std::string_view word : words) {
        const bool isBeginning = typed.size() >= kShortestBeginning && word.starts_with(typed);
        const std::size_t far = isBeginning ? 1 : distance(typed, word);
        const bool isNear = far <= (std::min(typed.size(), word.size()) + 1) / 3;
        if (!isNear || (nearest && far >= least)) continue;
        nearest = word;
        least = far;
    }
    return nearest;
}

}  // namespace velmora
