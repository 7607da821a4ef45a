// What the process of a check tells the program that started it: the step that it begins, then how the check came out.
#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace velmora {

enum class Outcome { ok, failed, notApplicable };

// The descriptor on which the program listens. Each line is one of these words, and what belongs to it.
inline constexpr int kReportDescriptor = 3;
inline constexpr std::string_view kStepWord = "step ";  // then the milliseconds that it may take, and its name
inline constexpr std::string_view kOkWord = "ok";
inline constexpr std::string_view kFailedWord = "failed ";
inline constexpr std::string_view kNotApplicableWord = "none ";

// False when nobody listens.
bool takeReportDescriptor();

// The name must fit after "in": where the process was when it crashed. Main thread.
void beginStep(std::string_view name, std::chrono::milliseconds limit);

// A step that others may interrupt: a plugin calls back, and the check calls the plugin in there. Main thread.
class Step {
  public:
    Step(std::string name, std::chrono::milliseconds limit);
    Step(const Step&) = delete;
    Step& operator=(const Step&) = delete;
    // Goes on with the step that it has interrupted, and gives that its whole time again.
    ~Step();

  private:
    const std::string name_;
    const std::chrono::milliseconds limit_;
    const Step* const outer_;
};

// These end the process at once, as nothing else of the plugin can be relied on. Any thread.
[[noreturn]] void fail(const std::string& reason);
[[noreturn]] void notApplicable(const std::string& why);
inline void require(bool condition, const std::string& otherwise) {
    if (!condition) fail(otherwise);
}

void succeed();

}  // namespace velmora
