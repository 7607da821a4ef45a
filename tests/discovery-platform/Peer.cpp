// discovery-peer TYPE NAME PORT: publishes a service on `lo` until its standard input ends, and says under which name.
#include <unistd.h>

#include <QCoreApplication>
#include <QSocketNotifier>
#include <cstdio>
#include <cstdlib>

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
        std::puts(text.c_str());
        std::fflush(stdout);
    }
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) return 2;
    QCoreApplication application(argc, argv);
    velmora::limitNetServicesToInterfaces({"lo"});
    Report report;
    velmora::NSNetService service("", argv[1], argv[2], static_cast<std::uint16_t>(std::atoi(argv[3])));
    service.setDelegate(&report);
    service.publish();
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &application, &QCoreApplication::quit);
    const int result = QCoreApplication::exec();
    service.stop();
    // The service has been withdrawn; what else an orderly end would do is left out, so that nothing but stop can have
    // done it.
    std::_Exit(result);
}
