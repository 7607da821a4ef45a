// The records of one name and type as the network has them at the moment, across changes of the backend.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "platform/network/dnssd/BackendSupply.h"

namespace velmora {

// Discovery thread only.
class MonitoredRecords final : public BackendUser {
  public:
    using Handler = std::function<void(const NetworkRecord& record, bool present)>;

    // Keeps at most `limit` records. A new one takes the place of the oldest, because a server that has moved says so
    // last; what had to give way is looked for again when there is room. The handler is told of each that comes or
    // goes; it may be called from within Avahi, and must not destroy this object.
    MonitoredRecords(BackendSupply& keeper, std::string name, std::uint16_t type, std::size_t limit, Handler handler);
    MonitoredRecords(const MonitoredRecords&) = delete;
    MonitoredRecords& operator=(const MonitoredRecords&) = delete;
    ~MonitoredRecords();

    struct Standing {
        std::uint64_t arrival;  // later ones have higher numbers
        bool confirmed;         // by the present backend
    };
    const std::map<NetworkRecord, Standing>& records() const { return records_; }

    // The network's records are told once only. These two are for who leaves one out all the same: a record that is
    // forgotten is told anew by the next look, which follows within kRetryTime.
    void forget(const NetworkRecord& record) { records_.erase(record); }
    void lookAgain();
    // Whether what is heard is the answer to such a look: it is no news then, and nothing has to give way to it.
    bool isLookingAgain() const { return std::chrono::steady_clock::now() < lookEnd_; }

    void backendCame(DiscoveryBackend& backend) override;
    void backendGoes() override;
    void graceTimeEnded() override;
    void interfaceWent(int interface) override;

  private:
    template <typename Predicate>
    void drop(Predicate isGone);
    void heard(const NetworkRecord& record, bool present);
    void dropOldest();

    BackendSupply& keeper_;
    const std::string name_;
    const std::uint16_t type_;
    const std::size_t limit_;
    const Handler handler_;
    std::uint64_t arrivals_ = 0;
    std::map<NetworkRecord, Standing> records_;
    std::unique_ptr<RecordQuery> query_;
    bool incomplete_ = false;  // some had no room
    bool lookAgainAsked_ = false;
    Date lookEnd_{};
};

}  // namespace velmora
