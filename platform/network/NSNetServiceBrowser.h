// Browsing for the services of a type, and where discovery takes place.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/foundation/NSObject.h"
#include "platform/network/NSNetService.h"

namespace velmora {

class NSNetServiceBrowser;

class NSNetServiceBrowserDelegate {
  public:
    virtual ~NSNetServiceBrowserDelegate() = default;
    // On the main thread, through its event loop. A service that is seen on several interfaces or over IPv4 and IPv6 is
    // found once, and removed when its last appearance is gone. It is found again, without being removed and with an
    // equal service object, when it leads elsewhere than was told last: its host or port has changed, or none of its
    // addresses remains (one more or less is no news); when a resolution had failed and it can be resolved now; and
    // when it was withdrawn and announced anew, within a second (except through an Avahi daemon, which hides that) or
    // before the main thread came to it. One that came and went in that time is not told at all. An appearance that is
    // lost with its interface has kGraceTime to come back, of which nothing is told, unless this process had a
    // connection to the service: if that has ended, and there is no other, it is found again, too. The same goes for
    // what velmora-mdns or the daemon has to confirm after a restart.
    virtual void netServiceBrowserDidFindServiceMoreComing(NSNetServiceBrowser& browser,
                                                           const std::shared_ptr<NSNetService>& service,
                                                           bool moreComing) = 0;
    virtual void netServiceBrowserDidRemoveServiceMoreComing(NSNetServiceBrowser& browser,
                                                             const std::shared_ptr<NSNetService>& service,
                                                             bool moreComing) = 0;
};

// Main thread only. At most 4,096 services are listed at a time, in the process as a whole. Where the network announces
// more, those that lead nowhere and those that came first are told as removed, and found when there is room again. A
// preferred service, and one that has been connected to, stays. Of names that lead nowhere only a few are told; any
// other service is told when its address is known. A preferred one is always told at once.
class NSNetServiceBrowser final : public NSObject {
  public:
    NSNetServiceBrowser();
    // Ends the browse; no callback follows.
    ~NSNetServiceBrowser() override;

    // Not owned.
    void setDelegate(NSNetServiceBrowserDelegate* delegate) { delegate_ = delegate; }
    // Browses until stop or destruction; ends a search that is going on. "" is the default domain, "local.". A service
    // that is present is found anew by each search. While the process has no descriptors left, the search waits.
    void searchForServicesOfTypeInDomain(const std::string& type, const std::string& domain);
    void stop();
    // Services of this name are listed even where there is no room, and told before others. Empty for none.
    void setPreferredName(std::string name);

  private:
    class Search;
    NSNetServiceBrowserDelegate* delegate_ = nullptr;
    std::string preferredName_;
    std::shared_ptr<Search> search_;
};

// Limits discovery in this process to the interfaces of these names (as in "lo"); empty: all of them. Holds for every
// browser and service, those that are at work already included. Any thread.
void limitNetServicesToInterfaces(std::vector<std::string> interfaceNames);

}  // namespace velmora
