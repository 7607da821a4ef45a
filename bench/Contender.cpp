#include "bench/Contender.h"

#include <algorithm>
#include <random>

namespace velmora::bench {

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t half = values.size() / 2;
    return values.size() % 2 == 1 ? values[half] : (values[half - 1] + values[half]) / 2;
}

void takeTurns(std::vector<Contender>& contenders, int rounds, Turns turns) {
    std::vector<Contender*> order;
    for (Contender& contender : contenders) {
        order.push_back(&contender);
    }
    std::mt19937 random;  // the same orders in every run
    for (int round = -1; round < rounds; ++round) {
        if (turns == Turns::shuffled) std::shuffle(order.begin(), order.end(), random);
        for (Contender* contender : order) {
            const double figure = contender->run();
            if (round >= 0) contender->figures.push_back(figure);
        }
    }
}

}  // namespace velmora::bench
