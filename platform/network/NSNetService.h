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
    // All on the main thread, through its event loop. Exactly one of the first two follows each resolution that is not
    // stopped; a service that has been withdrawn by the time the main thread comes to it counts as not resolved.
    virtual void netServiceDidResolveAddress(NSNetService& service) = 0;
    virtual void netServiceDidNotResolve(NSNetService&) {}
    // The service is announced; its name may have been changed to avoid a conflict.
    virtual void netServiceDidPublish(NSNetService&) {}
    virtual void netServiceDidNotPublish(NSNetService&, const std::string& reason) { (void)reason; }
};

// Main thread only, but for getInputStreamOutputStream and the plain getters of name, type and domain, which any thread
// may call.
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

    // Not owned; cleared by who goes first.
    void setDelegate(NSNetServiceDelegate* delegate) { delegate_ = delegate; }

    // What is found stays known to all equal services of the process, and up to date, while a browser sees the service.
    //
    // Looks up host, port and the addresses of all appearances (interfaces, IPv4 and IPv6) of the service. Resolved: at
    // least one address was found and every appearance has answered, or the time-out (seconds) has passed with at least
    // one. At most 64 addresses.
    void resolveWithTimeout(double timeout);
    // Whether the outcome of a resolution has still to be told.
    bool isBeingResolved() const { return resolutions_ != 0; }
    // What the last completed resolution found; empty, "" and 0 before. IPv4 before IPv6, within each by interface;
    // port included.
    const std::vector<SocketAddress>& addresses() const { return addresses_; }
    const std::string& hostName() const { return hostName_; }
    std::uint16_t port() const { return port_; }

    // A pair of streams that connects, when opened, to where the service is then: to the addresses known while it is
    // present, after a resolution where none are known yet, to the last known ones while it is absent. None for a
    // service without a name. Opening does not need the main loop.
    std::optional<NSStreamPair> getInputStreamOutputStream();

    void publish();
    // Ends a resolution, or withdraws the service from the network (which has been said goodbye to when the call
    // returns, as far as the network lets itself be told within a second).
    void stop();

  private:
    // What callbacks that are under way know of the service; one from a first use until stop. Main thread.
    struct Session {
        NSNetService* service;  // null once stopped
        std::uint64_t owner;
        bool published;
    };
    const std::shared_ptr<Session>& session();
    ServiceKey key() const;
    void resolved(const ServiceEndpoint* endpoint);
    void published(const std::string& publishedName, const std::optional<std::string>& failure);

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
