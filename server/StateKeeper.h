// Keeps a matrix in a state file: writes it soon after each change, on a thread of its own, so that no client waits for
// the disk.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <thread>

#include "platform/foundation/FileLock.h"
#include "platform/foundation/Result.h"
#include "platform/threads/ThreadAnnotations.h"
#include "server/VirtualMatrix.h"

namespace velmora {

// Becomes the matrix's change observer. Made before and destroyed after everyone who changes the matrix, by one thread.
class StateKeeper {
  public:
    // Called on the keeper's thread when the file could not be written: once, until it could be again. Writing is tried
    // again until then.
    using Trouble = std::function<void(const std::string& reason)>;

    // The matrix is not owned.
    StateKeeper(VirtualMatrix& matrix, std::string path, Trouble trouble);
    StateKeeper(const StateKeeper&) = delete;
    StateKeeper& operator=(const StateKeeper&) = delete;
    ~StateKeeper();

    // Comes first. Has the file for this keeper alone, as long as it lives; a failure when another server keeps its
    // matrix there.
    Result<void> lock();
    // Takes the file's contents over into the matrix; a file that does not exist leaves the matrix as it is.
    Result<void> load();
    // Writes the file once, so that a place that cannot be written is found at the start, and keeps it from then on. On
    // failure the file is as it was.
    Result<void> start();
    // Writes the last change and ends; a failure when that could not be written.
    Result<void> stop();

  private:
    void matrixChanged();
    void keep();

    VirtualMatrix& matrix_;
    std::string path_;
    const Trouble trouble_;
    Mutex mutex_;
    Condition wake_;
    bool changed_ GUARDED_BY(mutex_) = false;
    bool stopping_ GUARDED_BY(mutex_) = false;
    Result<void> written_;  // at the last try; belongs to the keeper's thread while that runs
    std::optional<FileLock> lock_;
    std::thread thread_;
};

}  // namespace velmora
