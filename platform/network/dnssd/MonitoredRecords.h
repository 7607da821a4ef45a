// The records of one name and type that the network has at the moment. They outlive a change of the backend.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "platform/network/dnssd/BackendUser.h"
#include "platform/network/dnssd/SetAsideOrder.h"

namespace velmora {

class BackendSupply;

// Discovery thread only.
class MonitoredRecords final : public BackendUser {
  public:
    using Handler = std::function<void(const NetworkRecord& record, RecordEvent event)>;

    struct Standing {
        std::uint64_t arrival;  // of SetAsideOrder
        bool confirmed;         // by the present backend, and not lost with its interface since
        bool inUse = false;
    };
    using Records = std::map<NetworkRecord, Standing>;

    // Keeps at most `limit` records. A new one takes the place of the oldest, because a server that has moved says so
    // last; the oldest is set aside. But a record that is in use gives way only when all are, and then the latest of
    // them: a burst of forged ones must not cut off what works. The handler is told of each record that came or went,
    // that a record came when it is confirmed after it was not, and that it was renewed. It may be called from within
    // Avahi, and must not destroy or change this object.
    MonitoredRecords(BackendSupply& supply, std::string name, std::uint16_t type, std::size_t limit, Handler handler);
    ~MonitoredRecords();

    const Records& records() const { return records_; }
    // Somebody has been told of what these records lead to; of the others, nobody is any longer.
    void noteUse(const std::function<bool(const NetworkRecord& record)>& isUsed);

    // A record that was set aside is no longer among the records, but it is remembered until the network withdraws it
    // or there are too many. It comes back, as old as it was, when another record goes or when the user of this object
    // has room again.
    //
    // For a user who has no room for this record. The handler is not told.
    void setAside(const NetworkRecord& record);
    bool hasSetAside() const { return !setAside_.empty(); }
    // Whether this one was set aside. It is not remembered any longer.
    bool forget(const NetworkRecord& record);
    // Takes back up to this many as far as there is room, the latest first. The handler is told.
    void takeBack(std::size_t count);

    void backendCame(DiscoveryBackend& backend) override;
    void backendGoes() override;
    void graceTimeEnded() override;

  private:
    template <typename Predicate>
    void drop(Predicate isGone);
    void heard(const NetworkRecord& record, RecordEvent event);
    void came(const NetworkRecord& record);
    void went(const NetworkRecord& record);
    void makeRoom();

    BackendSupply& supply_;
    SetAsideOrder& order_;
    const std::string name_;
    const std::uint16_t type_;
    const std::size_t limit_;
    const Handler handler_;
    Records records_;
    Records setAside_;
    std::unique_ptr<RecordQuery> query_;
};

}  // namespace velmora
