#include "server/StateKeeper.h"

#include <chrono>
#include <filesystem>
#include <new>
#include <system_error>
#include <utility>

#include "server/MatrixFile.h"

namespace velmora {

namespace {

// The least time between two writes: changes that come faster share one.
constexpr std::chrono::milliseconds kWritePause{100};
// The pause after a write that failed.
constexpr std::chrono::milliseconds kRetryPause{1000};

}  // namespace

StateKeeper::StateKeeper(VirtualMatrix& matrix, std::string path, Trouble trouble)
    : matrix_(matrix), path_(std::move(path)), trouble_(std::move(trouble)) {
    matrix_.setChangeObserver([this] { matrixChanged(); });
}

StateKeeper::~StateKeeper() {
    static_cast<void>(stop());  // whoever wants to know what came of it has asked before
    matrix_.setChangeObserver(nullptr);
}

Result<void> StateKeeper::lock() {
    // The file that is locked is the one that is kept, wherever a link leads by then.
    std::error_code unresolved;
    if (const auto file = std::filesystem::weakly_canonical(path_, unresolved); !unresolved) path_ = file.string();
    Result<FileLock> lock = FileLock::take(path_);
    if (!lock) return lock.failure();
    lock_.emplace(*std::move(lock));
    return {};
}

Result<void> StateKeeper::load() {
    std::error_code unknown;
    if (std::filesystem::symlink_status(path_, unknown).type() == std::filesystem::file_type::not_found) return {};
    Result<MatrixContents> contents = readMatrixFile(path_);
    if (!contents) return contents.failure();
    return matrix_.apply(*std::move(contents));
}

Result<void> StateKeeper::start() {
    if (auto written = writeMatrixFile(path_, matrix_.contents()); !written) return written;
    thread_ = std::thread([this] { keep(); });
    return {};
}

Result<void> StateKeeper::stop() {
    if (thread_.joinable()) {
        {
            MutexLock lock(mutex_);
            stopping_ = true;
            wake_.notify_one();
        }
        thread_.join();
    }
    return written_;
}

void StateKeeper::matrixChanged() {
    MutexLock lock(mutex_);
    changed_ = true;
    wake_.notify_one();
}

void StateKeeper::keep() {
    MutexLock lock(mutex_);
    for (;;) {
        while (!changed_ && !stopping_) {
            wake_.wait(lock);
        }
        if (!changed_) return;
        changed_ = false;
        const bool isLast = stopping_;
        lock.unlock();
        const bool wasWritten = static_cast<bool>(written_);
        try {
            written_ = writeMatrixFile(path_, matrix_.contents());
        } catch (const std::bad_alloc&) {
            written_ = Failure{"out of memory"};  // itself short enough to need none
        }
        if (!written_ && wasWritten && !isLast) trouble_(written_.failure().reason);
        lock.lock();
        if (!written_) {
            if (isLast) return;
            changed_ = true;
        }
        const auto next = std::chrono::steady_clock::now() + (written_ ? kWritePause : kRetryPause);
        while (!stopping_ && wake_.wait_until(lock, next) == std::cv_status::no_timeout) {
        }
    }
}

}  // namespace velmora
