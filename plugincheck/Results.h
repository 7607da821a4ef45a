// How the checks came out, for a person or as JSON.
#pragma once

#include <string>
#include <vector>

#include "plugincheck/CheckProcess.h"

namespace velmora {

class Results {
  public:
    Results(std::string bundle, bool json) : bundle_(std::move(bundle)), json_(json) {}

    // For a person, each at once.
    void add(const Check& check, const Verdict& verdict);
    // Prints the rest.
    void finish() const;

    // Whether some could be made, and none of these failed.
    bool hold() const;

  private:
    int count(Outcome outcome) const;

    struct Result {
        const char* name;
        Verdict verdict;
    };
    const std::string bundle_;
    const bool json_;
    std::vector<Result> results_;
};

}  // namespace velmora
