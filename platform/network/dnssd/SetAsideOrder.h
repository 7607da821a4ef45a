// The order of the records that were set aside, of all questions together, so that the oldest can be forgotten first.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>

namespace velmora {

class MonitoredRecords;
struct NetworkRecord;

// Discovery thread only.
class SetAsideOrder {
  public:
    // Four times what Avahi keeps for an interface. What exceeds it is forgotten until it is announced anew.
    static constexpr std::size_t kMaximumSetAside = 65536;

    // Later ones have higher numbers, whatever the question.
    std::uint64_t nextArrival() { return ++arrivals_; }

    // The record stays where it is until it is removed here. Has the oldest forgotten when there are too many.
    void add(std::uint64_t arrival, MonitoredRecords& owner, const NetworkRecord& record);
    void remove(std::uint64_t arrival) { places_.erase(arrival); }

  private:
    std::uint64_t arrivals_ = 0;
    std::map<std::uint64_t, std::pair<MonitoredRecords*, const NetworkRecord*>> places_;
};

}  // namespace velmora
