#include "platform/network/dnssd/MonitoredRecords.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace velmora {

namespace {

// What is known already is told at once when it is asked for again; so long (seconds) is allowed for it.
constexpr double kLookTime = 1.0;

}  // namespace

MonitoredRecords::MonitoredRecords(BackendSupply& keeper, std::string name, std::uint16_t type, std::size_t limit,
                                   Handler handler)
    : keeper_(keeper), name_(std::move(name)), type_(type), limit_(limit), handler_(std::move(handler)) {
    keeper_.addUser(*this);
}

MonitoredRecords::~MonitoredRecords() {
    keeper_.removeUser(*this);
}

// An old question ends behind the start of the new one, so that nothing goes unnoticed in between.
void MonitoredRecords::backendCame(DiscoveryBackend& backend) {
    auto query =
        backend.query(name_, type_, [this](const NetworkRecord& record, bool present) { heard(record, present); });
    if (query == nullptr) return keeper_.wasRefused(*this);
    query_ = std::move(query);
    if (std::exchange(lookAgainAsked_, false)) lookEnd_ = secondsFromNow(kLookTime);
}

void MonitoredRecords::lookAgain() {
    incomplete_ = false;
    lookAgainAsked_ = true;
    keeper_.askAgainLater(*this);
}

void MonitoredRecords::backendGoes() {
    query_.reset();
    incomplete_ = lookAgainAsked_ = false;  // the next one is asked for everything
    for (auto& [record, standing] : records_) {
        standing.confirmed = false;
    }
}

void MonitoredRecords::graceTimeEnded() {
    drop([](const NetworkRecord&, const Standing& standing) { return !standing.confirmed; });
}

void MonitoredRecords::interfaceWent(int interface) {
    drop([interface](const NetworkRecord& record, const Standing&) { return record.interface == interface; });
}

template <typename Predicate>
void MonitoredRecords::drop(Predicate isGone) {
    std::vector<NetworkRecord> gone;
    for (const auto& [record, standing] : records_) {
        if (isGone(record, standing)) gone.push_back(record);
    }
    for (const NetworkRecord& record : gone) {
        records_.erase(record);
        handler_(record, false);
    }
}

void MonitoredRecords::heard(const NetworkRecord& record, bool present) {
    const auto known = records_.find(record);
    if (!present) {
        if (known == records_.end()) return;
        records_.erase(known);
        handler_(record, false);
        if (incomplete_) lookAgain();
    } else if (known != records_.end()) {
        known->second.confirmed = true;
    } else {
        if (records_.size() >= limit_) {
            incomplete_ = true;
            if (isLookingAgain()) return;
            dropOldest();
        }
        records_.emplace(record, Standing{++arrivals_, true});
        handler_(record, true);
    }
}

void MonitoredRecords::dropOldest() {
    const auto oldest = std::min_element(records_.begin(), records_.end(), [](const auto& left, const auto& right) {
        return left.second.arrival < right.second.arrival;
    });
    const NetworkRecord record = oldest->first;
    records_.erase(oldest);
    handler_(record, false);
}

}  // namespace velmora
