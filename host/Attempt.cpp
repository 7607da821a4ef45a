#include "host/Attempt.h"

#include "platform/threads/MainThread.h"

namespace velmora {

std::optional<bool> Attempt::isAnswered() const {
    const auto outcome = host_.lastOutcome();
    return outcome ? std::optional(outcome->answer == NodePluginAnswer::answered) : std::nullopt;
}

bool Attempt::ranOutOfTime() const {
    const auto outcome = host_.lastOutcome();
    return outcome && outcome->answer == NodePluginAnswer::noAnswerInTime;
}

std::string Attempt::reason() const {
    const auto outcome = host_.lastOutcome();
    if (outcome && !outcome->reason.empty()) return outcome->reason;
    return lastLine_.empty() ? "it gave no reason" : lastLine_;
}

// Lines of other threads are about other things.
void Attempt::hear(const std::string& line) {
    if (MainThread::isCurrent()) lastLine_ = line;
}

}  // namespace velmora
