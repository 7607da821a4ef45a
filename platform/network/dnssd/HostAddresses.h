// The addresses of a host, asked for once for all of its services.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/network/dnssd/MonitoredRecords.h"

namespace velmora {

// Addresses that are kept for one host, and for one service.
inline constexpr std::size_t kMaximumAddresses = 64;

// Discovery thread only.
class HostAddresses {
  public:
    // `name` is escaped as Avahi writes names. `changed` is called as the handler of MonitoredRecords is.
    HostAddresses(BackendSupply& keeper, const std::string& name, const std::function<void()>& changed);

    // Those heard on an interface, IPv4 before IPv6, numerically ascending. An address heard over both protocols is in
    // the list once.
    std::vector<std::string> onInterface(int interface) const;

  private:
    // Asked for first: a host that says both then has said both when its IPv4 address completes a resolution.
    MonitoredRecords v6_;
    MonitoredRecords v4_;
};

// Hands out one HostAddresses for each host for as long as someone holds it.
class HostDirectory {
  public:
    // `changed` is told the host's name.
    HostDirectory(BackendSupply& keeper, std::function<void(const std::string& name)> changed)
        : keeper_(keeper), changed_(std::move(changed)) {}

    std::shared_ptr<HostAddresses> host(const std::string& name);

  private:
    BackendSupply& keeper_;
    const std::function<void(const std::string& name)> changed_;
    std::map<std::string, std::weak_ptr<HostAddresses>> hosts_;
};

}  // namespace velmora
