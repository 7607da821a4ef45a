// Keeps discovery supplied with a backend: the Avahi daemon while it answers, our own program while it does not.
#pragma once

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "platform/network/dnssd/BackendUser.h"
#include "platform/network/dnssd/DaemonBackend.h"
#include "platform/network/dnssd/DiscoveryLoop.h"
#include "platform/network/dnssd/ProgramBackend.h"

namespace velmora {

// What is known from a backend that has gone stays as it was for so long (seconds), unless the next backend says
// otherwise.
inline constexpr double kGraceTime = 10.0;
// After so long (seconds) what did not work is tried again.
inline constexpr double kRetryTime = 5.0;
// A program of ours that has failed is started again after so long (seconds), and each time after twice as long, up to
// kRetryTime, unless it had served for a while.
inline constexpr double kFirstRestartTime = 0.25;
inline constexpr double kGoodServiceTime = 30.0;

// Discovery thread only. A backend is made and destroyed in settle() only, never within one of Avahi's callbacks.
class BackendKeeper {
  public:
    BackendKeeper(DiscoveryLoop& loop, std::vector<std::string> interfaces)
        : loop_(loop),
          interfaces_(std::move(interfaces)),
          nextInterfaceLook_(loop),
          nextAsking_(loop),
          nextOwn_(loop) {}
    BackendKeeper(const BackendKeeper&) = delete;
    BackendKeeper& operator=(const BackendKeeper&) = delete;
    // There must be no users any more.
    ~BackendKeeper() = default;

    // A user is attached at once when there is a backend, and detached when it is removed.
    void addUser(BackendUser& user);
    void removeUser(BackendUser& user);
    // backendCame is called again within kRetryTime.
    void askAgainLater(BackendUser& user);
    // The same, because the backend of the moment has refused this user's question.
    void wasRefused(BackendUser& user);

    // Sees to it that the right backend serves, if any can be had.
    void settle();
    // Null when neither way works at the moment; settle() keeps trying.
    DiscoveryBackend* backend() const { return active_; }
    const std::string& lastError() const { return lastError_; }
    // There is no backend, but only because our own program, which could be started and has not said that it cannot
    // serve, is about to be started again.
    bool isRestarting() const { return restarting_; }

    // From now on a backend must be able to announce services.
    void requirePublishing();
    void limitToInterfaces(std::vector<std::string> interfaces);

  private:
    void changed();
    void settleOwn();
    void ownHasFailed();
    void takeDown();
    void bringUp(DiscoveryBackend& backend);
    void startGraceTime();
    void retryLater();
    void lookAtInterfaces();
    void askAgain();
    void noteSituation() const;

    DiscoveryLoop& loop_;
    std::vector<std::string> interfaces_;
    bool publishing_ = false;
    bool unsettled_ = true;
    bool retrying_ = false;
    unsigned graceTimes_ = 0;
    std::string lastError_;
    std::unique_ptr<DaemonBackend> daemon_;
    std::unique_ptr<ProgramBackend> own_;
    DiscoveryBackend* active_ = nullptr;  // one of the two
    double restartTime_ = kFirstRestartTime;
    Date ownEarnsTrust_;      // when the present program will have served for a while
    bool ownPauses_ = false;  // until nextOwn_
    bool restarting_ = false;
    bool restartIsLogged_ = false;
    std::set<BackendUser*> users_;
    DiscoveryLoop::Timer nextInterfaceLook_;  // while the daemon serves and there is a limit
    DiscoveryLoop::Timer nextAsking_;
    DiscoveryLoop::Timer nextOwn_;
    std::set<BackendUser*> askingAgain_;
    bool refusalNoted_ = false;
};

}  // namespace velmora
