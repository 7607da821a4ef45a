#include "platform/network/dnssd/MonitoredRecords.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "platform/network/dnssd/BackendSupply.h"

namespace velmora {

namespace {

using Entry = MonitoredRecords::Records::value_type;

bool isOlder(const Entry& left, const Entry& right) {
    return left.second.arrival < right.second.arrival;
}

bool givesWayBefore(const Entry& left, const Entry& right) {
    if (left.second.inUse != right.second.inUse) return right.second.inUse;
    return left.second.inUse ? isOlder(right, left) : isOlder(left, right);
}

}  // namespace

MonitoredRecords::MonitoredRecords(BackendSupply& supply, std::string name, std::uint16_t type, std::size_t limit,
                                   Handler handler)
    : supply_(supply),
      order_(supply.setAsideOrder()),
      name_(std::move(name)),
      type_(type),
      limit_(limit),
      handler_(std::move(handler)) {
    supply_.addUser(*this);
}

MonitoredRecords::~MonitoredRecords() {
    supply_.removeUser(*this);
    for (const auto& [record, standing] : setAside_) {
        order_.remove(standing.arrival);
    }
}

// An old question ends after the start of the new one, so that nothing goes unnoticed in between.
void MonitoredRecords::backendCame(DiscoveryBackend& backend) {
    auto query =
        backend.query(name_, type_, [this](const NetworkRecord& record, RecordEvent event) { heard(record, event); });
    if (query == nullptr) return supply_.wasRefused(*this);
    query_ = std::move(query);
}

void MonitoredRecords::backendGoes() {
    query_.reset();
    for (Records* records : {&records_, &setAside_}) {
        for (auto& [record, standing] : *records) {
            standing.confirmed = false;
        }
    }
}

void MonitoredRecords::graceTimeEnded() {
    drop([](const auto& entry) { return !entry.second.confirmed; });
}

template <typename Predicate>
void MonitoredRecords::drop(Predicate isGone) {
    std::erase_if(setAside_, [&](const auto& entry) {
        if (!isGone(entry)) return false;
        order_.remove(entry.second.arrival);
        return true;
    });
    std::vector<NetworkRecord> gone;
    for (const auto& entry : records_) {
        if (isGone(entry)) gone.push_back(entry.first);
    }
    for (const NetworkRecord& record : gone) {
        records_.erase(record);
        handler_(record, RecordEvent::went);
    }
    takeBack(gone.size());
}

void MonitoredRecords::heard(const NetworkRecord& record, RecordEvent event) {
    switch (event) {
        case RecordEvent::came:
            return came(record);
        case RecordEvent::went:
            return went(record);
        case RecordEvent::renewed:
            if (records_.contains(record)) handler_(record, event);
            return;
        case RecordEvent::lost:
            // An interface is often back in a moment, with everything on it. Until then nobody knows better.
            for (Records* records : {&records_, &setAside_}) {
                const auto known = records->find(record);
                if (known != records->end()) known->second.confirmed = false;
            }
            return supply_.beginGraceTime();
    }
}

void MonitoredRecords::came(const NetworkRecord& record) {
    if (const auto known = setAside_.find(record); known != setAside_.end()) {
        known->second.confirmed = true;
        return;
    }
    if (const auto known = records_.find(record); known != records_.end()) {
        if (!std::exchange(known->second.confirmed, true)) handler_(record, RecordEvent::came);
        return;
    }
    if (records_.size() >= limit_) makeRoom();
    records_.emplace(record, Standing{order_.nextArrival(), true});
    handler_(record, RecordEvent::came);
}

void MonitoredRecords::went(const NetworkRecord& record) {
    if (forget(record) || records_.erase(record) == 0) return;
    handler_(record, RecordEvent::went);
    takeBack(1);
}

void MonitoredRecords::noteUse(const std::function<bool(const NetworkRecord& record)>& isUsed) {
    for (auto& [record, standing] : records_) {
        standing.inUse = isUsed(record);
    }
}

void MonitoredRecords::makeRoom() {
    const NetworkRecord least = std::min_element(records_.begin(), records_.end(), givesWayBefore)->first;
    setAside(least);
    handler_(least, RecordEvent::went);
}

void MonitoredRecords::setAside(const NetworkRecord& record) {
    auto known = records_.extract(record);
    if (known.empty()) return;
    const auto entry = setAside_.insert(std::move(known)).position;
    order_.add(entry->second.arrival, *this, entry->first);
}

bool MonitoredRecords::forget(const NetworkRecord& record) {
    const auto known = setAside_.find(record);
    if (known == setAside_.end()) return false;
    order_.remove(known->second.arrival);
    setAside_.erase(known);
    return true;
}

void SetAsideOrder::add(std::uint64_t arrival, MonitoredRecords& owner, const NetworkRecord& record) {
    places_.emplace(arrival, std::pair(&owner, &record));
    if (places_.size() <= kMaximumSetAside) return;
    const auto [oldestOwner, oldest] = places_.begin()->second;
    oldestOwner->forget(*oldest);
}

void MonitoredRecords::takeBack(std::size_t count) {
    count = std::min({count, setAside_.size(), limit_ - records_.size()});
    if (count == 0) return;
    std::vector<Records::const_iterator> latest;
    latest.reserve(setAside_.size());
    for (auto entry = setAside_.cbegin(); entry != setAside_.cend(); ++entry) {
        latest.push_back(entry);
    }
    std::partial_sort(latest.begin(), latest.begin() + static_cast<std::ptrdiff_t>(count), latest.end(),
                      [](auto left, auto right) { return isOlder(*right, *left); });
    latest.resize(count);
    for (const auto entry : latest) {
        order_.remove(entry->second.arrival);
        const auto place = records_.insert(setAside_.extract(entry)).position;
        handler_(place->first, RecordEvent::came);
    }
}

}  // namespace velmora
