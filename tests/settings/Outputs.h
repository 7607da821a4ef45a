// A full list of outputs, and the texts of the alerts.
#pragma once

#include "tests/plugin/Settings.h"

namespace velmora::test {

inline const Outputs kFull{{"a", 7, 0}, {"b", 6, 0}, {"c", 5, 0}, {"d", 4, 0},
                           {"e", 3, 0}, {"f", 2, 0}, {"g", 1, 0}, {"h", 0, 0}};
inline const std::string kNoOutput = "Output Error!|All the outputs are already defined as used.|OK";
inline const std::string kSameLabel =
    "Duplicate Label Error!|This label already exists, so please choose another one.|OK";
inline const std::string kSameNumber =
    "Duplicate Output Number Error!|This output number already exists, so please choose another one.|OK";

}  // namespace velmora::test
