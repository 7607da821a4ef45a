#include "bench/Contender.h"

#include <algorithm>

namespace velmora::bench {

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t half = values.size() / 2;
    return values.size() % 2 == 1 ? values[half] : (values[half - 1] + values[half]) / 2;
}

void takeTurns(std::vector<Contender>& contenders, int rounds) {
    for (int round = -1; round < rounds; ++round) {
        for (Contender& contender : contenders) {
            const double figure = contender.run();
            if (round >= 0) contender.figures.push_back(figure);
        }
    }
}

}  // namespace velmora::bench
