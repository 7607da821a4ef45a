// discovery-peer TYPE NAME PORT: publishes a service on `lo` until SIGTERM, and says under which name.
#include <sys/signalfd.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QSocketNotifier>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "platform/foundation/Text.h"
#include "platform/network/NSNetService.h"
#include "platform/network/NSNetServiceBrowser.h"

namespace {

class Report final : public velmora::NSNetServiceDelegate {
  public:
    void netServiceDidResolveAddress(velmora::NSNetService&) override {}
    void netServiceDidPublish(velmora::NSNetService& service) override { say("published " + service.name()); }
    void netServiceDidNotPublish(velmora::NSNetService&, const std::string& reason) override {
        say("not published: " + reason);
    }

  private:
    static void say(const std::string& text) {
        std::puts(velmora::stringByEscapingControlCharacters(text).c_str());
        std::fflush(stdout);
    }
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) return 2;
    // Blocked before there is a second thread, so that it is only ever read here.
    sigset_t ending;
    sigemptyset(&ending);
    sigaddset(&ending, SIGTERM);
    sigprocmask(SIG_BLOCK, &ending, nullptr);
    QCoreApplication application(argc, argv);
    velmora::limitNetServicesToInterfaces({"lo"});
    Report report;
    velmora::NSNetService service("", argv[1], argv[2], static_cast<std::uint16_t>(std::atoi(argv[3])));
    service.setDelegate(&report);
    service.publish();
    QSocketNotifier terminated(signalfd(-1, &ending, SFD_CLOEXEC), QSocketNotifier::Read);
    QObject::connect(&terminated, &QSocketNotifier::activated, &application, &QCoreApplication::quit);
    const int result = QCoreApplication::exec();
    service.stop();
    // The service has been withdrawn; what else an orderly end would do is left out, so that nothing but stop can have
    // done it.
    std::_Exit(result);
}
