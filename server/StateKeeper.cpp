#include "server/StateKeeper.h"

#include <QFileInfo>
#include <chrono>
#include <utility>

#include "server/MatrixFile.h"

namespace velmora {

namespace {

// The least time between two writes: changes that come faster share one.
constexpr auto writePause = std::chrono::milliseconds(100);

}  // namespace

StateKeeper::StateKeeper(VirtualMatrix& matrix, std::string path, Trouble trouble)
    : matrix_(matrix), path_(std::move(path)), trouble_(std::move(trouble)) {
    matrix_.setChangeObserver([this] { matrixChanged(); });
}

StateKeeper::~StateKeeper() {
    stop();
    matrix_.setChangeObserver(nullptr);
}

std::optional<std::string> StateKeeper::load() {
    if (!QFileInfo::exists(QString::fromStdString(path_))) return std::nullopt;
    MatrixContents contents;
    if (auto reason = readMatrixFile(path_, contents)) return reason;
    return matrix_.apply(std::move(contents));
}

std::optional<std::string> StateKeeper::start() {
    if (auto reason = writeMatrixFile(path_, matrix_.contents())) return reason;
    thread_ = std::thread([this] { keep(); });
    return std::nullopt;
}

bool StateKeeper::stop() {
    if (thread_.joinable()) {
        {
            MutexLock lock(mutex_);
            stopping_ = true;
            wake_.notify_one();
        }
        thread_.join();
    }
    return !failed_;
}

void StateKeeper::matrixChanged() {
    MutexLock lock(mutex_);
    changed_ = true;
    wake_.notify_one();
}

void StateKeeper::keep() {
    MutexLock lock(mutex_);
    for (;;) {
        while (!changed_ && !stopping_)
            wake_.wait(lock);
        if (!changed_) return;
        changed_ = false;
        lock.unlock();
        const auto reason = writeMatrixFile(path_, matrix_.contents());
        if (reason && !failed_) trouble_(*reason);
        failed_ = reason.has_value();
        lock.lock();
        const auto next = std::chrono::steady_clock::now() + writePause;
        while (!stopping_ && wake_.wait_until(lock, next) == std::cv_status::no_timeout) {
        }
    }
}

}  // namespace velmora
