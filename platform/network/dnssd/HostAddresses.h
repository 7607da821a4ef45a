// The addresses of a host, which the network is asked for once for all of the host's services.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/network/dnssd/MonitoredRecords.h"

namespace velmora {

// The most addresses that are kept for a host, and for a service.
inline constexpr std::size_t kMaximumAddresses = 64;

// Discovery thread only.
class HostAddresses {
  public:
    // `name` is escaped as Avahi writes names. `changed` is called as the handler of MonitoredRecords is.
    HostAddresses(BackendSupply& supply, const std::string& name, const std::function<void()>& changed);

    // Those that were heard on this interface: IPv4 before IPv6, each in numerical order. An address that was heard
    // over both protocols is listed once.
    std::vector<std::string> onInterface(int interface) const;
    // As of MonitoredRecords, for all of them or for none.
    void noteUse(bool isUsed);

  private:
    // Asked for first, so that a host that has both has named both when its IPv4 address completes a resolution.
    MonitoredRecords v6_;
    MonitoredRecords v4_;
};

// Keeps one HostAddresses for each host, for as long as somebody holds it.
class HostDirectory {
  public:
    // `changed` is called with the host's name.
    HostDirectory(BackendSupply& supply, std::function<void(const std::string& name)> changed)
        : supply_(supply), changed_(std::move(changed)) {}

    std::shared_ptr<HostAddresses> host(const std::string& name);

  private:
    BackendSupply& supply_;
    const std::function<void(const std::string& name)> changed_;
    std::map<std::string, std::weak_ptr<HostAddresses>> hosts_;
};

}  // namespace velmora
