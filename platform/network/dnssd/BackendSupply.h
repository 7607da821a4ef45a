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
#include "platform/network/dnssd/SetAsideOrder.h"

namespace velmora {

// A backend has this long to confirm what was known before it came; what it has not confirmed then is taken for gone.
// The time counts while that backend serves, and anew with the next one: nobody listens in between, and silence is no
// news. So a server that left while velmora-mdns crashes every few seconds stays listed until one lasts this long. The
// other way round, servers that never left would be told as gone and found again, and hosts would connect to them anew.
// The same goes for what was lost with its interface, since the last such loss.
inline constexpr Seconds kGraceTime{10};
// After this time everything that did not work is tried again.
inline constexpr Seconds kRetryTime{5};
// A program of ours that has failed is started again after the first time, and then each time after twice as long, up
// to kRetryTime, unless it had served for the second.
inline constexpr Seconds kFirstRestartTime{0.25};
inline constexpr Seconds kGoodServiceTime{30};

// Discovery thread only. A backend is made and destroyed in settle() only, never within one of Avahi's callbacks.
class BackendSupply {
  public:
    BackendSupply(DiscoveryLoop& loop, std::vector<std::string> interfaces)
        : loop_(loop),
          interfaces_(std::move(interfaces)),
          nextSettling_(loop),
          nextRetry_(loop),
          nextInterfaceLook_(loop),
          nextAsking_(loop),
          nextOwn_(loop),
          graceEnd_(loop) {}

    // A user is attached at once when there is a backend, and detached when it is removed.
    void addUser(BackendUser& user);
    void removeUser(BackendUser& user);
    // backendCame is called again within kRetryTime.
    void askAgainLater(BackendUser& user);
    // The same, because the backend of the moment has refused this user's question.
    void wasRefused(BackendUser& user);
    // What was known is no longer sure.
    void beginGraceTime();

    // Sees to it that the right backend serves, if any can be had.
    void settle();
    // Null when neither way works at the moment; settle() keeps trying.
    DiscoveryBackend* backend() const { return active_; }
    const std::string& lastError() const { return lastError_; }
    // There is no backend, but only because our own program, which could be started and has not said that it cannot
    // serve, is about to be started again.
    bool isRestarting() const { return restarting_; }
    // For the users: one for all of them.
    SetAsideOrder& setAsideOrder() { return setAsideOrder_; }

    // From now on a backend must be able to announce services.
    void requirePublishing();
    void limitToInterfaces(std::vector<std::string> interfaces);

  private:
    void changed();
    void settleOwn();
    void ownHasFailed();
    void takeDown();
    void bringUp(DiscoveryBackend& backend);
    void retryLater();
    void lookAtInterfaces();
    void askAgain();
    void noteSituation() const;

    DiscoveryLoop& loop_;
    SetAsideOrder setAsideOrder_;
    std::vector<std::string> interfaces_;
    bool publishing_ = false;
    bool unsettled_ = true;
    std::string lastError_;
    std::unique_ptr<DaemonBackend> daemon_;
    std::unique_ptr<ProgramBackend> own_;
    DiscoveryBackend* active_ = nullptr;  // one of the two
    Seconds restartTime_ = kFirstRestartTime;
    Date ownEarnsTrust_;  // when the present program will have served for a while
    bool restarting_ = false;
    bool restartIsLogged_ = false;
    std::set<BackendUser*> users_;
    DiscoveryLoop::Timer nextSettling_;
    DiscoveryLoop::Timer nextRetry_;
    DiscoveryLoop::Timer nextInterfaceLook_;  // while the daemon serves and there is a limit
    DiscoveryLoop::Timer nextAsking_;
    DiscoveryLoop::Timer nextOwn_;  // set while our own program pauses
    DiscoveryLoop::Timer graceEnd_;
    std::set<BackendUser*> askingAgain_;
    bool refusalNoted_ = false;
};

}  // namespace velmora
