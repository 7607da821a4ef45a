// discovery-peer TYPE NAME PORT: publishes a service on `lo` until SIGTERM, and says when it is announced.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <optional>

#include "platform/network/NSNetServiceBrowser.h"
#include "tests/support/PublishedService.h"

int main(int argc, char** argv) {
    if (argc != 4) return 2;
    // Blocked before there is a second thread, so that it is only ever waited for here.
    sigset_t ending;
    sigemptyset(&ending);
    sigaddset(&ending, SIGTERM);
    sigprocmask(SIG_BLOCK, &ending, nullptr);
    QCoreApplication application(argc, argv);
    velmora::limitNetServicesToInterfaces({"lo"});
    std::optional<velmora::test::PublishedService> service;
    service.emplace(argv[2], static_cast<std::uint16_t>(std::atoi(argv[3])), argv[1]);
    std::puts("published");
    std::fflush(stdout);
    int signal = 0;
    sigwait(&ending, &signal);
    service.reset();
    // What else an orderly end would do is left out, so that nothing but stop can have withdrawn the service.
    std::_Exit(0);
}
