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
    std::function<double()> run;  // makes one round and returns its figure
    std::vector<double> figures = {};

    double medianFigure() const { return median(figures); }
};

// Every contender runs once in each round, so a disturbance of the machine affects all alike. The first round does not
// count. How deep a core sleeps depends on what ran before, so the order changes with each round, unless the contenders
// are steps that need each other.
enum class Turns { shuffled, inOrder };
void takeTurns(std::vector<Contender>& contenders, int rounds, Turns turns = Turns::shuffled);

}  // namespace velmora::bench
