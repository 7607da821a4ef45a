// Services that nobody is told of until it is known where they lead. The network is asked about them in turn.
#pragma once

#include <cstddef>
#include <list>
#include <map>
#include <optional>
#include <vector>

#include "platform/network/dnssd/ServiceKey.h"
#include "platform/threads/Moment.h"

namespace velmora {

// Discovery thread only.
class UnannouncedServices {
  public:
    // A flood of names without a server must not make this process flood the network with questions. So only this many
    // are asked about at a time, and each has this long to answer while others wait, or less while some of them have
    // never been asked about. An answer that comes later is not lost: the backend keeps it for the next turn.
    static constexpr std::size_t kMaximumAskedAbout = 256;
    static constexpr Seconds kPatience{2};
    static constexpr Seconds kPatienceWithNewcomers{0.3};

    // Does nothing for one that is here already.
    void add(const ServiceKey& key);
    void remove(const ServiceKey& key);
    bool contains(const ServiceKey& key) const { return places_.contains(key); }

    struct Turns {
        std::vector<ServiceKey> ended, begun;
    };
    Turns nextTurns(Date now);
    // When a turn ends in favour of another service; none while nobody waits.
    std::optional<Date> endOfTurn() const;

  private:
    struct Entry {
        ServiceKey key;
        std::optional<Date> turnBegin;  // none while it waits
        bool wasAskedAbout = false;
    };
    using Line = std::list<Entry>;
    Line& lineOf(const Entry& entry);
    std::size_t waiting() const { return newcomers_.size() + slow_.size(); }
    Line::iterator next();
    Date endOfFirstTurn() const;

    std::map<ServiceKey, Line::iterator> places_;
    Line newcomers_;   // the newest is first
    Line slow_;        // have had turns without an answer; who waits longest is first
    Line askedAbout_;  // in the order in which their turns began
    unsigned int picks_ = 0;
};

}  // namespace velmora
