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
    // are asked about at a time, and each has this long to answer while others wait. Newcomers are next; those that
    // have not answered follow in turn, because one may only have been slow.
    static constexpr std::size_t kMaximumAskedAbout = 256;
    static constexpr Seconds kPatience{2};

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
        std::optional<Date> turnEnd;  // none while it waits
    };
    using Line = std::list<Entry>;
    std::map<ServiceKey, Line::iterator> places_;
    Line waiting_;
    Line askedAbout_;  // in the order in which their turns began
};

}  // namespace velmora
