// Keeps a matrix in a state file: writes it soon after each change, on a thread of its own, so that no client waits for
// the disk.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <thread>

#include "platform/threads/ThreadAnnotations.h"
#include "server/VirtualMatrix.h"

namespace velmora {

// Becomes the matrix's change observer. Made before and destroyed after everyone who changes the matrix, by one thread.
class StateKeeper {
  public:
    // Called on the keeper's thread when the file could not be written, once until it could be again.
    using Trouble = std::function<void(const std::string& reason)>;

    // The matrix is not owned.
    StateKeeper(VirtualMatrix& matrix, std::string path, Trouble trouble);
    StateKeeper(const StateKeeper&) = delete;
    StateKeeper& operator=(const StateKeeper&) = delete;
    ~StateKeeper();

    // Takes the file's contents over into the matrix, where there is such a file. The file is only read. None when that
    // worked; otherwise the reason in words.
    std::optional<std::string> load();
    // Writes the file once, so that a place that cannot be written is found at the start, and keeps it from then on.
    // None when it was written; otherwise the reason in words, and the file is as it was.
    std::optional<std::string> start();
    // Ends the keeping, with the last change written; false when it could not be.
    bool stop();

  private:
    void matrixChanged();
    void keep();

    VirtualMatrix& matrix_;
    const std::string path_;
    const Trouble trouble_;
    Mutex mutex_;
    Condition wake_;
    bool changed_ GUARDED_BY(mutex_) = false;
    bool stopping_ GUARDED_BY(mutex_) = false;
    bool failed_ = false;  // keeper's thread, and of no thread before and after
    std::thread thread_;
};

}  // namespace velmora
