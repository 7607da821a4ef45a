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
    AvahiSimplePoll* poll = avahi_simple_poll_new();
    if (poll == nullptr) return 1;
    const bool served = velmora::MulticastServer(poll).run();
    avahi_simple_poll_free(poll);
    return served ? 0 : 1;
}
