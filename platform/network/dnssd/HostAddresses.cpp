#include "platform/network/dnssd/HostAddresses.h"

#include <algorithm>

namespace velmora {

HostAddresses::HostAddresses(BackendSupply& supply, const std::string& name, const std::function<void()>& changed)
    : v6_(supply, name, AVAHI_DNS_TYPE_AAAA, kMaximumAddresses, [changed](auto&, RecordEvent) { changed(); }),
      v4_(supply, name, AVAHI_DNS_TYPE_A, kMaximumAddresses, [changed](auto&, RecordEvent) { changed(); }) {}

std::vector<std::string> HostAddresses::onInterface(int interface) const {
    std::vector<std::string> addresses;
    for (const MonitoredRecords* records : {&v4_, &v6_}) {
        const auto first = static_cast<std::ptrdiff_t>(addresses.size());
        for (const auto& [record, standing] : records->records()) {
            if (record.interface == interface) addresses.push_back(record.address);
        }
        std::sort(addresses.begin() + first, addresses.end());
        addresses.erase(std::unique(addresses.begin() + first, addresses.end()), addresses.end());
    }
    return addresses;
}

void HostAddresses::noteUse(bool isUsed) {
    const auto answer = [isUsed](const NetworkRecord&) { return isUsed; };
    v6_.noteUse(answer);
    v4_.noteUse(answer);
}

std::shared_ptr<HostAddresses> HostDirectory::host(const std::string& name) {
    std::erase_if(hosts_, [](const auto& entry) { return entry.second.expired(); });
    auto& known = hosts_[name];
    auto host = known.lock();
    if (host == nullptr) {
        host = std::make_shared<HostAddresses>(supply_, name, [this, name] { changed_(name); });
        known = host;
    }
    return host;
}

}  // namespace velmora
