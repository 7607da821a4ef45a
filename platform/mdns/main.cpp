// Speaks multicast DNS for the process that has started it, by Avahi's core, so that what comes from the network can
// break this program alone. The platform library starts it (see platform/network/dnssd/ProgramBackend.h); it writes
// nothing anywhere and ends with its connection.
#include <cstdio>

#include "platform/mdns/Confinement.h"
#include "platform/mdns/MulticastServer.h"

int main() {
    if (!velmora::HostConnection::exists()) {
        std::fputs("velmora-mdns is started by the Velmora platform library, for itself\n", stderr);
        return 2;
    }
    velmora::confineThisProcess();
    const velmora::AvahiOwner<AvahiSimplePoll, avahi_simple_poll_free> poll(avahi_simple_poll_new());
    return poll != nullptr && velmora::MulticastServer(poll.get()).run() ? 0 : 1;
}
