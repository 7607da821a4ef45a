#include "plugincheck/Report.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "platform/foundation/Text.h"

namespace velmora {

namespace {

const Step* innermost = nullptr;

// What a pipe takes in one piece, so that lines of several threads are not mixed.
constexpr std::size_t kMaximumLineBytes = 4096;

void tell(std::string_view word, std::string_view text) {
    std::string line = std::string(word) + stringByEscapingControlCharacters(text);
    line.resize(std::min(line.size(), kMaximumLineBytes - 1));
    line += '\n';
    // Without a listener there is nobody to work for.
    if (::write(kReportDescriptor, line.data(), line.size()) < 0) ::_exit(EXIT_FAILURE);
}

}  // namespace

bool takeReportDescriptor() {
    struct stat information {};
    const bool isPipe = ::fstat(kReportDescriptor, &information) == 0 && S_ISFIFO(information.st_mode);
    return isPipe && ::fcntl(kReportDescriptor, F_SETFD, FD_CLOEXEC) == 0;
}

void beginStep(std::string_view name, std::chrono::milliseconds limit) {
    tell(kStepWord, std::to_string(limit.count()) + ' ' + std::string(name));
}

Step::Step(std::string name, std::chrono::milliseconds limit)
    : name_(std::move(name)), limit_(limit), outer_(std::exchange(innermost, this)) {
    beginStep(name_, limit_);
}

Step::~Step() {
    innermost = outer_;
    if (outer_ != nullptr) beginStep(outer_->name_, outer_->limit_);
}

void fail(const std::string& reason) {
    tell(kFailedWord, reason);
    ::_exit(EXIT_FAILURE);
}

void notApplicable(const std::string& why) {
    tell(kNotApplicableWord, why);
    ::_exit(EXIT_SUCCESS);
}

void succeed() {
    tell(kOkWord, "");
}

}  // namespace velmora
