// A host of the network and its addresses.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/foundation/NSObject.h"
#include "platform/network/SocketAddress.h"

namespace velmora {

class NSHost final : public NSObject {
  public:
    // Looks up a host name or an address text with the system's resolver, which may take seconds. Null when it is
    // unknown. Any thread.
    static std::shared_ptr<NSHost> hostWithName(const std::string& name);

    explicit NSHost(std::vector<SocketAddress> addresses) : addresses_(std::move(addresses)) {}

    // In the resolver's order; their ports are 0.
    const std::vector<SocketAddress>& addresses() const { return addresses_; }

  private:
    const std::vector<SocketAddress> addresses_;
};

}  // namespace velmora
