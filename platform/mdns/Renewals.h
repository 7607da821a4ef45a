// Services that say goodbye and are announced anew within a second.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <utility>

#include "platform/mdns/PacketFilter.h"

namespace velmora {

// Avahi keeps a record for a second after its goodbye, as multicast DNS demands, and when it is announced again
// meanwhile it tells nobody of either. But a server that says goodbye has ended its connections; whoever had one must
// hear that there is a server again. So the packets that Avahi reads are looked at here for what it does not tell.
//
// Anybody can say goodbye for a service that is well. Its owner then announces it again, to undo the goodbye, and that
// must be no news: hosts would give up connections that work. So a renewal counts only when goodbye and announcement
// come from the address that the service was announced from first. Whoever forges that address, too, gains nothing: one
// forged location of the service has always been enough to make hosts connect anew.
class Renewals {
  public:
    // For a pointer with this data, to a question of this number.
    using Handler = std::function<void(std::uint64_t question, int interface, int protocol, const std::string& data)>;

    explicit Renewals(Handler renewed) : renewed_(std::move(renewed)) {}

    // Begins to look for pointers of this name, escaped as Avahi writes names; ends it.
    void watch(std::uint64_t question, const std::string& name);
    void unwatch(std::uint64_t question);

    // Avahi has told that a pointer has come or gone.
    void wasTold(std::uint64_t question, int interface, int protocol, const std::string& data, bool present);
    // A packet, after Avahi has read it and told what it tells.
    void heard(const PacketFilter::Packet& packet);

  private:
    // Question, data in lower case, interface, protocol: a name is the same in capitals, and a server that is started
    // anew may write it so.
    using Pointer = std::tuple<std::uint64_t, std::string, int, int>;
    struct Standing {
        std::string data;   // as Avahi has it
        std::string owner;  // the address that has announced it; empty until a packet shows it
        std::optional<std::chrono::steady_clock::time_point> goodbye;
    };

    void heardPointer(const Pointer& pointer, bool isGoodbye, const std::string& source);

    const Handler renewed_;
    std::map<std::uint64_t, std::string> watched_;  // names as they are in packets, in lower case
    std::map<Pointer, Standing> pointers_;          // those that Avahi has
};

}  // namespace velmora
