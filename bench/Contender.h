// Who takes part in a comparison, and how they take turns.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace velmora::bench {

using Clock = std::chrono::steady_clock;

inline double microsecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

// Of at least one value.
double median(std::vector<double> values);

struct Contender {
    std::string name;
    std::function<double()> run;  // one round; answers its figure
    std::vector<double> figures = {};

    double medianFigure() const { return median(figures); }
};

// Everyone once in each round, so that whatever the machine does meanwhile meets all of them; after one round that does
// not count. In an order of its own in each round, unless they are steps that follow from each other: how deep a core
// sleeps depends on who ran before, and nobody shall always come behind the same one.
enum class Turns { shuffled, inOrder };
void takeTurns(std::vector<Contender>& contenders, int rounds, Turns turns = Turns::shuffled);

}  // namespace velmora::bench
