// Asks a switch server for its size and the labels of its outputs.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "host/SettingsCheck.h"
#include "platform/foundation/Result.h"

namespace velmora {

struct ServerLabels {
    MatrixSize size;
    std::map<std::int64_t, std::string> labels;  // by output, from 0; without those that have none
};

// Waits this long for the server to be found and for all of its answers together. The failure is a sentence that does
// not name the server. Main thread; waits in the event loop, then without it.
Result<ServerLabels> labelsOfServer(const std::string& server, const std::vector<std::int64_t>& outputs,
                                    std::chrono::milliseconds wait);

}  // namespace velmora
