// Collects the log lines that are written while it lives.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "platform/foundation/NSLog.h"
#include "platform/threads/ThreadAnnotations.h"

namespace velmora::test {

using Strings = std::vector<std::string>;

class LogLines {
  public:
    Strings lines() const {
        MutexLock lock(mutex_);
        return lines_;
    }
    auto count(const std::string& line) const {
        const auto all = lines();
        return std::count(all.begin(), all.end(), line);
    }

  private:
    mutable Mutex mutex_;
    Strings lines_ GUARDED_BY(mutex_);
    NSLogObservation observation_{[this](const std::string& line) {
        MutexLock lock(mutex_);
        lines_.push_back(line);
    }};
};

}  // namespace velmora::test
