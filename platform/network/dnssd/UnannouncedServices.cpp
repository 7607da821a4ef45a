#include "platform/network/dnssd/UnannouncedServices.h"

namespace velmora {

void UnannouncedServices::add(const ServiceKey& key) {
    if (contains(key)) return;
    places_.emplace(key, waiting_.insert(waiting_.begin(), {key, std::nullopt}));
}

void UnannouncedServices::remove(const ServiceKey& key) {
    const auto place = places_.extract(key);
    if (place.empty()) return;
    (place.mapped()->turnEnd ? askedAbout_ : waiting_).erase(place.mapped());
}

UnannouncedServices::Turns UnannouncedServices::nextTurns(Date now) {
    Turns turns;
    for (std::size_t waiting = waiting_.size(); waiting > 0; --waiting) {
        if (askedAbout_.size() >= kMaximumAskedAbout) {
            Entry& first = askedAbout_.front();
            if (*first.turnEnd > now) break;
            first.turnEnd.reset();
            turns.ended.push_back(first.key);
            waiting_.splice(waiting_.end(), askedAbout_, askedAbout_.begin());
        }
        Entry& next = waiting_.front();
        next.turnEnd = fromNow(kPatience);
        turns.begun.push_back(next.key);
        askedAbout_.splice(askedAbout_.end(), waiting_, waiting_.begin());
    }
    return turns;
}

std::optional<Date> UnannouncedServices::endOfTurn() const {
    if (waiting_.empty() || askedAbout_.empty()) return std::nullopt;
    return askedAbout_.front().turnEnd;
}

}  // namespace velmora
