// How the program ends.
#pragma once

#include <array>
#include <string_view>

namespace velmora {

enum class ExitCode : int { done = 0, refused = 1, unusable = 2, timedOut = 3 };

struct ExitCodeRow {
    ExitCode code;
    std::string_view meaning;  // as the help shows it
};

// Of every command; what went wrong first counts.
inline constexpr std::array kExitCodes = {
    ExitCodeRow{ExitCode::done, "done; of \"status\": connected"},
    ExitCodeRow{ExitCode::refused,
                "the plugin refused, there is no such attribute or value, or its device gave no proper answer or has "
                "another value than was set; of \"status\": lost; of \"check-server\": with problems"},
    ExitCodeRow{ExitCode::unusable,
                "wrong usage; a file or settings that cannot be used (of \"check-settings\": with mistakes); a bundle "
                "that cannot be loaded; results that could not be written"},
    ExitCodeRow{ExitCode::timedOut,
                "the switch server, its attributes or its answer did not come in time; of \"status\": absent"},
};

}  // namespace velmora
