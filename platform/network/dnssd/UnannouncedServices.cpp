#include "platform/network/dnssd/UnannouncedServices.h"

#include <iterator>

namespace velmora {

void UnannouncedServices::add(const ServiceKey& key) {
    if (contains(key)) return;
    places_.emplace(key, newcomers_.insert(newcomers_.begin(), {key, std::nullopt}));
}

void UnannouncedServices::remove(const ServiceKey& key) {
    const auto place = places_.extract(key);
    if (place.empty()) return;
    lineOf(*place.mapped()).erase(place.mapped());
}

UnannouncedServices::Line& UnannouncedServices::lineOf(const Entry& entry) {
    if (entry.turnBegin) return askedAbout_;
    return entry.wasAskedAbout ? slow_ : newcomers_;
}

// In an endless flood of names none of these three may wait for ever. The newest has turns because a server that has
// just started is most likely wanted now, the newcomer that waits longest because the names of the flood that came
// before it go sooner or later, and one that did not answer because it may only have been slow.
UnannouncedServices::Line::iterator UnannouncedServices::next() {
    const unsigned int pick = picks_++ % 4;
    if (newcomers_.empty() || (pick == 3 && !slow_.empty())) return slow_.begin();
    return pick == 1 ? std::prev(newcomers_.end()) : newcomers_.begin();
}

UnannouncedServices::Turns UnannouncedServices::nextTurns(Date now) {
    Turns turns;
    for (std::size_t count = waiting(); count > 0; --count) {
        if (askedAbout_.size() >= kMaximumAskedAbout) {
            if (endOfFirstTurn() > now) break;
            Entry& first = askedAbout_.front();
            first.turnBegin.reset();
            turns.ended.push_back(first.key);
            slow_.splice(slow_.end(), askedAbout_, askedAbout_.begin());
        }
        const auto entry = next();
        Line& line = lineOf(*entry);
        entry->turnBegin = now;
        entry->wasAskedAbout = true;
        turns.begun.push_back(entry->key);
        askedAbout_.splice(askedAbout_.end(), line, entry);
    }
    return turns;
}

std::optional<Date> UnannouncedServices::endOfTurn() const {
    if (waiting() == 0 || askedAbout_.empty()) return std::nullopt;
    return endOfFirstTurn();
}

Date UnannouncedServices::endOfFirstTurn() const {
    const Seconds patience = newcomers_.empty() ? kPatience : kPatienceWithNewcomers;
    return *askedAbout_.front().turnBegin + std::chrono::duration_cast<Date::duration>(patience);
}

}  // namespace velmora
