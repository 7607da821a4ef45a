// Browses for services, resolves what it finds, as the plugin does, and records what it is told.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/network/NSNetServiceBrowser.h"
#include "tests/support/MainLoop.h"

namespace velmora::test {

using Strings = std::vector<std::string>;

class ServiceWatch : public NSNetServiceBrowserDelegate, public NSNetServiceDelegate {
  public:
    explicit ServiceWatch(const std::string& type = "_matrixswitcher._tcp.") {
        browser.setDelegate(this);
        browser.searchForServicesOfTypeInDomain(type, "");
    }

    bool waitForEvents(std::size_t count) {
        return runMainLoopUntil([&] { return events.size() >= count; });
    }
    static Strings addressesOf(const NSNetService& service) {
        Strings texts;
        for (const SocketAddress& address : service.addresses()) {
            texts.push_back(address.text());
        }
        return texts;
    }
    Strings addressesOf(const std::string& name) const { return addressesOf(*services.at(name)); }

    double timeout = 10.0;  // of the resolutions, in seconds; 0: nothing is resolved
    NSNetServiceBrowser browser;
    std::map<std::string, std::shared_ptr<NSNetService>> services;  // the present ones, by name
    Strings events;                                                 // such as "found NAME"

  protected:
    virtual void tell(const std::string& what, const NSNetService& service) {
        events.push_back(what + " " + service.name());
    }

  private:
    using Service = std::shared_ptr<NSNetService>;
    void netServiceBrowserDidFindServiceMoreComing(NSNetServiceBrowser&, const Service& service, bool) override {
        tell("found", *service);
        services.insert_or_assign(service->name(), service);
        service->setDelegate(this);
        if (timeout > 0) service->resolveWithTimeout(timeout);
    }
    void netServiceBrowserDidRemoveServiceMoreComing(NSNetServiceBrowser&, const Service& service, bool) override {
        const auto known = services.extract(service->name());
        tell(known && known.mapped()->isEqual(*service) ? "removed" : "removed, though not found,", *service);
    }
    void netServiceDidResolveAddress(NSNetService& service) override { tell("resolved", service); }
    void netServiceDidNotResolve(NSNetService& service) override { tell("not resolved", service); }
    void netServiceDidPublish(NSNetService& service) override { tell("published", service); }
    void netServiceDidNotPublish(NSNetService&, const std::string& reason) override {
        events.push_back("not published: " + reason);
    }
};

}  // namespace velmora::test
