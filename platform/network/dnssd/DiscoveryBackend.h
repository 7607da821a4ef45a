// The multicast DNS that discovery stands on: what the Avahi daemon and our own program both offer.
#pragma once

#include <avahi-common/defs.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/network/dnssd/NetworkRecord.h"
#include "platform/network/dnssd/RecordEvent.h"
#include "platform/network/dnssd/ServiceKey.h"

namespace velmora {

// A standing question for the records of one name and type. Ends when it is destroyed.
class RecordQuery {
  public:
    virtual ~RecordQuery() = default;
};
// Of a record on one interface.
using RecordHandler = std::function<void(const NetworkRecord& record, RecordEvent event)>;

// The records of one service of our own. They are withdrawn, with a goodbye, when it is destroyed.
class EntryGroup {
  public:
    virtual ~EntryGroup() = default;
    // Puts the service in the place of what the group held before. The outcome is a state that the handler is told, or
    // at once an error of Avahi's (0 for none).
    virtual int announce(const ServiceKey& key, std::uint16_t port) = 0;
};
using EntryGroupHandler = std::function<void(AvahiEntryGroupState state)>;

// Discovery thread only. Handlers are called from within Avahi: they note what they are told and leave the backend
// alone. Everything that a backend has made must be destroyed before it.
class DiscoveryBackend {
  public:
    virtual ~DiscoveryBackend() = default;
    // `name` is escaped as Avahi writes names; `type` is one of AVAHI_DNS_TYPE_*. Null when Avahi refuses.
    virtual std::unique_ptr<RecordQuery> query(const std::string& name, std::uint16_t type, RecordHandler handler) = 0;
    // Null when Avahi refuses.
    virtual std::unique_ptr<EntryGroup> makeEntryGroup(EntryGroupHandler handler) = 0;
    // Whether this machine's host name is established, so that services may be announced.
    virtual bool isReadyToPublish() const = 0;
    // Why Avahi has refused or failed last, in its words.
    virtual std::string lastError() const = 0;
};

}  // namespace velmora
