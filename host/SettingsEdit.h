// Changes to a switch plugin's settings that somebody asks for without a window. Texts for and from a person count
// outputs and inputs from 1, everything else from 0 as the settings do. Main thread.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/SettingsCheck.h"
#include "platform/foundation/PropertyList.h"
#include "platform/foundation/Result.h"

namespace velmora {

struct OutputEdit {
    std::int64_t output = 0;
    // None leaves that of a configured output as it is. A new one takes a label from elsewhere, and the input of the
    // same number as its default.
    std::optional<std::string> label;
    std::optional<std::int64_t> defaultInput;
};

struct SettingsEdit {
    std::optional<std::string> server;
    std::vector<std::int64_t> removals;  // before the others
    std::vector<OutputEdit> outputs;

    bool isEmpty() const { return !server && removals.empty() && outputs.empty(); }
};

// A text that a settings file cannot hold is a failure; without these characters it would be another name.
Result<std::string> textForSettings(const std::string& text);

// "3", "3=Studio monitor", "3,default=5" or "3=Studio monitor,default=5".
Result<OutputEdit> outputEditInText(const std::string& text);
// "3", "1-8" or "1-4,7".
Result<std::vector<std::int64_t>> outputsInText(const std::string& text);

// "16x8", inputs before outputs, as servers say it.
Result<MatrixSize> matrixSizeInText(std::string_view text);

// The outputs that the edit adds without a label.
std::vector<std::int64_t> outputsWithoutLabel(const DictionaryReference& settings, const SettingsEdit& edit);

// Makes the changes, and says of each in a line what it is; no lines when all was so already. The labels are those of
// outputs that are added without one; any that is missing is made up, and one that is taken gets a number. After a
// failure the settings may have been changed in part.
Result<std::vector<std::string>> changeSettings(const DictionaryReference& settings, const SettingsEdit& edit,
                                                const std::map<std::int64_t, std::string>& labels);

}  // namespace velmora
