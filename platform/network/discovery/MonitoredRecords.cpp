#include "platform/network/discovery/MonitoredRecords.h"

#include <vector>

namespace velmora {

MonitoredRecords::MonitoredRecords(BackendKeeper& keeper, std::string name, std::uint16_t type, std::size_t limit,
                                   Handler handler)
    : keeper_(keeper), name_(std::move(name)), type_(type), limit_(limit), handler_(std::move(handler)) {
    keeper_.addUser(*this);
}

MonitoredRecords::~MonitoredRecords() {
    keeper_.removeUser(*this);
}

void MonitoredRecords::backendCame(DiscoveryBackend& backend) {
    query_ = backend.query(name_, type_, [this](const NetworkRecord& record, bool present) { heard(record, present); });
    if (query_ == nullptr) keeper_.askAgainLater(*this);
}

void MonitoredRecords::backendGoes() {
    query_.reset();
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
    } else if (known != records_.end()) {
        known->second.confirmed = true;
    } else if (records_.size() < limit_) {
        records_.emplace(record, Standing{++arrivals_, true});
        handler_(record, true);
    }
}

}  // namespace velmora
