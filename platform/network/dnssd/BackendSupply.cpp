#include "platform/network/dnssd/BackendSupply.h"

#include <algorithm>
#include <atomic>
#include <utility>

#include "platform/foundation/NSLog.h"

namespace velmora {

void BackendSupply::addUser(BackendUser& user) {
    users_.insert(&user);
    if (active_ != nullptr) user.backendCame(*active_);
}

void BackendSupply::removeUser(BackendUser& user) {
    users_.erase(&user);
    askingAgain_.erase(&user);
    user.backendGoes();
}

void BackendSupply::settle() {
    if (!unsettled_) return;
    unsettled_ = false;
    if (daemon_ && daemon_->hasFailed()) {
        if (active_ == daemon_.get()) takeDown();
        daemon_.reset();
    }
    if (!daemon_) daemon_ = DaemonBackend::create(loop_.poll(), interfaces_, [this] { changed(); });
    if (!daemon_) retryLater();

    if (daemon_ && daemon_->isAnswering()) {
        if (active_ == daemon_.get()) return;
        if (active_ != nullptr) takeDown();
        own_.reset();
        restarting_ = restartIsLogged_ = false;
        bringUp(*daemon_);
        if (!interfaces_.empty()) lookAtInterfaces();
    } else {
        settleOwn();
    }
    noteSituation();
}

void BackendSupply::changed() {
    unsettled_ = true;
    nextSettling_.set(fromNow(Seconds{0}), [] {});  // so that this is looked at even when it happens within settle()
}

void BackendSupply::settleOwn() {
    if (own_ && own_->hasFailed()) ownHasFailed();
    if (nextOwn_.isSet() || (own_ && (own_->publishes() || !publishing_))) return;
    if (active_ != nullptr) takeDown();
    own_.reset();
    restarting_ = restartIsLogged_ = false;
    auto created = ProgramBackend::create(loop_, interfaces_, publishing_, [this] { changed(); });
    if (!created) {
        lastError_ = created.failure().reason;
        retryLater();
        return;
    }
    own_ = *std::move(created);
    ownEarnsTrust_ = fromNow(kGoodServiceTime);
    bringUp(*own_);
}

void BackendSupply::ownHasFailed() {
    lastError_ = own_->lastError();
    restarting_ = own_->hasStarted() || !own_->hasDeclined();
    // One that never served is the situation's matter.
    restartIsLogged_ = own_->hasStarted();
    if (restartIsLogged_) NSLog("%@, it is started again", lastError_);
    if (std::chrono::steady_clock::now() > ownEarnsTrust_) restartTime_ = kFirstRestartTime;
    if (active_ != nullptr) takeDown();
    own_.reset();
    nextOwn_.set(fromNow(restartTime_), [this] { unsettled_ = true; });
    restartTime_ = std::min(2 * restartTime_, kRetryTime);
}

void BackendSupply::takeDown() {
    active_ = nullptr;
    nextInterfaceLook_.cancel();
    nextAsking_.cancel();
    askingAgain_.clear();
    refusalNoted_ = false;
    for (BackendUser* user : users_) {
        user->backendGoes();
    }
    graceEnd_.cancel();
}

void BackendSupply::bringUp(DiscoveryBackend& backend) {
    active_ = &backend;
    for (BackendUser* user : users_) {
        user->backendCame(backend);
    }
    beginGraceTime();
}

void BackendSupply::beginGraceTime() {
    graceEnd_.set(fromNow(kGraceTime), [this] {
        for (BackendUser* user : users_) {
            user->graceTimeEnded();
        }
    });
}

void BackendSupply::retryLater() {
    if (!nextRetry_.isSet()) nextRetry_.set(fromNow(kRetryTime), [this] { unsettled_ = true; });
}

// The daemon alone has to be asked and told anew when an interface has come, gone, or got another index.
void BackendSupply::lookAtInterfaces() {
    if (daemon_->hasFailed()) return;  // about to be taken down
    const auto before = daemon_->interfaces();
    daemon_->lookUpInterfaces();
    const auto& now = daemon_->interfaces();
    if (now != before) {
        takeDown();
        bringUp(*daemon_);
    }
    nextInterfaceLook_.set(fromNow(kRetryTime), [this] { lookAtInterfaces(); });
}

void BackendSupply::askAgainLater(BackendUser& user) {
    if (active_ == nullptr) return;  // everybody asks the next one
    if (askingAgain_.empty()) nextAsking_.set(fromNow(kRetryTime), [this] { askAgain(); });
    askingAgain_.insert(&user);
}

// Many may be refused at a time: one line tells of all.
void BackendSupply::wasRefused(BackendUser& user) {
    askAgainLater(user);
    if (!std::exchange(refusalNoted_, true))
        NSLog("Not every service can be followed now, trying again: %@", active_->lastError());
}

void BackendSupply::askAgain() {
    if (active_ == daemon_.get() ? daemon_->hasFailed() : own_->hasFailed()) return;  // about to be taken down
    for (BackendUser* user : std::exchange(askingAgain_, {})) {
        user->backendCame(*active_);
    }
    if (askingAgain_.empty()) refusalNoted_ = false;
}

void BackendSupply::requirePublishing() {
    if (publishing_) return;
    publishing_ = true;
    unsettled_ = true;
}

void BackendSupply::limitToInterfaces(std::vector<std::string> interfaces) {
    interfaces_ = std::move(interfaces);
    if (active_ != nullptr) takeDown();
    own_.reset();
    daemon_.reset();
    unsettled_ = true;
}

// A line when the situation has changed, whatever starts and ends of discovery lie between. That the program is started
// again has its own.
void BackendSupply::noteSituation() const {
    enum Situation { unknown, daemon, program, nothing };
    static std::atomic<Situation> known{unknown};
    if (active_ == nullptr ? restartIsLogged_ : active_ == own_.get() && !own_->hasStarted()) return;
    const Situation now = active_ == nullptr ? nothing : active_ == daemon_.get() ? daemon : program;
    const Situation before = known.exchange(now);
    if (now == before) return;
    if (now == nothing) NSLog("Services cannot be discovered now, trying again: %@", lastError_);
    if (now == program) NSLog("No Avahi daemon answers, services are discovered without one");
    if (now == daemon && before != unknown) NSLog("The Avahi daemon answers, services are discovered through it");
}

}  // namespace velmora
