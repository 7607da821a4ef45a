// Whoever follows the backend of the moment.
#pragma once

#include "platform/network/dnssd/DiscoveryBackend.h"

namespace velmora {

// Something that asks or tells the network through the backend of the moment.
class BackendUser {
  public:
    // From here on this backend serves.
    virtual void backendCame(DiscoveryBackend& backend) = 0;
    // The backend is about to be destroyed: everything that it has made must go now.
    virtual void backendGoes() = 0;
    // Everything that the present backend has not confirmed is to be taken for gone.
    virtual void graceTimeEnded() = 0;

  protected:
    ~BackendUser() = default;
};

}  // namespace velmora
