// A DNS-SD service: one that was found and can be resolved and connected to, or one of our own that is published.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/NSObject.h"
#include "platform/foundation/Result.h"
#include "platform/network/NSStream.h"
#include "platform/network/SocketAddress.h"
#include "platform/threads/ThreadAnnotations.h"

namespace velmora {

class NSNetService;
struct ServiceEndpoint;
struct ServiceKey;

class NSNetServiceDelegate {
  public:
    virtual ~NSNetServiceDelegate() = default;
    // All on the main thread, through its event loop. Each resolution that is not stopped is followed by exactly one of
    // the first two. A service that was withdrawn before the main thread came to it counts as not resolved.
    virtual void netServiceDidResolveAddress(NSNetService& service) = 0;
    virtual void netServiceDidNotResolve(NSNetService&) {}
    // The service is announced; its name may have been changed to avoid a conflict.
    virtual void netServiceDidPublish(NSNetService&) {}
    // It is not, or no longer, unless it is published anew.
    virtual void netServiceDidNotPublish(NSNetService&, const std::string& reason) { (void)reason; }
};

// Main thread only, except for getInputStreamOutputStream and the getters of name, type and domain: any thread.
class NSNetService final : public NSObject {
  public:
    // A service to be resolved. `type` as in "_matrixswitcher._tcp.", `domain` as in "local.".
    NSNetService(std::string domain, std::string type, std::string name);
    // A service to be published on a port (host byte order). Its name has at most 63 bytes.
    NSNetService(std::string domain, std::string type, std::string name, std::uint16_t port);
    // Stops resolution and withdraws what was published; no callback follows.
    ~NSNetService() override;

    std::string name() const;
    const std::string& type() const { return type_; }
    const std::string& domain() const { return domain_; }
    // Equal when name, type and domain are.
    bool isEqual(const NSNetService& other) const;

    // Not owned. Whichever of the two goes first clears it.
    void setDelegate(NSNetServiceDelegate* delegate) { delegate_ = delegate; }

    // While a browser sees the service, all equal services of the process share what was found, and it is kept up to
    // date.
    //
    // Looks up host, port and the addresses of all appearances (interfaces, IPv4 and IPv6) of the service. Resolved: at
    // least one address was found and every appearance has answered, or the time-out (seconds) has passed with at least
    // one. At most 64 addresses.
    void resolveWithTimeout(double timeout);
    // Whether the outcome of a resolution has yet to be told.
    bool isBeingResolved() const { return resolutions_ != 0; }
    // What the last completed resolution found; empty, "" and 0 before. IPv4 before IPv6, within each by interface;
    // port included.
    const std::vector<SocketAddress>& addresses() const { return addresses_; }
    const std::string& hostName() const { return hostName_; }
    std::uint16_t port() const { return port_; }

    // A pair of streams that connects to where the service is when they are opened: to its addresses while it is
    // present, after a resolution if none is known yet; to the last known ones while it is absent. None for a service
    // without a name. Opening does not need the main loop.
    std::optional<NSStreamPair> getInputStreamOutputStream();

    void publish();
    // Ends a resolution, or withdraws the service from the network: the goodbye has been said when the call returns, if
    // that is possible within a second.
    void stop();

  private:
    // All that callbacks under way know of the service. There is one from the first use until `stop`. Main thread.
    struct Session {
        NSNetService* service;  // null once stopped
        std::uint64_t owner;
        bool published;
    };
    const std::shared_ptr<Session>& session();
    ServiceKey key() const;
    void resolved(const ServiceEndpoint* endpoint);
    void published(const std::string& publishedName, const Result<void>& outcome);

    const std::string domain_;
    const std::string type_;
    const std::uint16_t portToPublish_;
    mutable Mutex mutex_;
    std::string name_ GUARDED_BY(mutex_);  // changes when it is published under another
    std::shared_ptr<Session> session_;
    NSNetServiceDelegate* delegate_ = nullptr;
    int resolutions_ = 0;
    std::vector<SocketAddress> addresses_;
    std::string hostName_;
    std::uint16_t port_ = 0;
};

}  // namespace velmora
