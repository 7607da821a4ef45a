// Finds the switch server that a command names: by discovery, or at a host and port.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/Result.h"
#include "platform/network/NSNetServiceBrowser.h"
#include "platform/threads/Moment.h"

namespace velmora {

struct HostAndPort {
    std::string host;
    std::uint16_t port;
};
// "127.0.0.1:4000", "[::1]:4000", "localhost:4000", "router.example:4000", "[router]:4000". None for what is rather the
// name of a server, such as "Rack:1". A failure for what is a place, but not wholly.
Result<std::optional<HostAndPort>> hostAndPortInText(std::string_view text);
// Any thread. Asks the system's resolver until then.
Result<std::vector<SocketAddress>> addressesOf(const HostAndPort& place, Date end);

// Browses as the plugin does, while it lives. Main thread; waits in the event loop.
class ServerSearch : private NSNetServiceBrowserDelegate, private NSNetServiceDelegate {
  public:
    explicit ServerSearch(std::string name);
    ServerSearch(const ServerSearch&) = delete;
    ~ServerSearch() override;

    // The failure is a sentence that names the server.
    Result<std::vector<SocketAddress>> addresses(std::chrono::milliseconds wait);
    // Whether it was found again since, so that a plugin would have made a new connection.
    bool wasAnnouncedAnew();

  private:
    using Service = std::shared_ptr<NSNetService>;
    void netServiceBrowserDidFindServiceMoreComing(NSNetServiceBrowser&, const Service& service, bool) override;
    void netServiceBrowserDidRemoveServiceMoreComing(NSNetServiceBrowser&, const Service&, bool) override {}
    void netServiceDidResolveAddress(NSNetService&) override { isResolved_ = true; }

    const std::string name_;
    NSNetServiceBrowser browser_;
    Service service_;
    bool isResolved_ = false;
    int timesFound_ = 0;
    std::vector<std::string> others_;
};

}  // namespace velmora
