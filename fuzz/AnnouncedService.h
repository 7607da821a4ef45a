// For targets that go through discovery: a main event loop, and a service on the loopback interface alone.
#pragma once

#include <unistd.h>

#include <QCoreApplication>
#include <QTimer>
#include <functional>
#include <memory>
#include <string>

#include "fuzz/Fuzz.h"
#include "platform/network/NSNetService.h"
#include "platform/network/NSNetServiceBrowser.h"
#include "platform/threads/NSLock.h"

namespace velmora::fuzz {

// A condition that does not come true within half a minute is a finding.
inline void runMainLoopUntil(const std::function<bool()>& condition) {
    const Date deadline = fromNow(Seconds(30.0));
    QTimer lookAgain;
    lookAgain.start(2);
    while (!condition()) {
        require(std::chrono::steady_clock::now() < deadline, "what the main loop waits for happens");
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

// Announces a port of 127.0.0.1 under a name of its own, and keeps the application object that discovery needs.
class AnnouncedService {
  public:
    explicit AnnouncedService(std::uint16_t port) {
        static int argc = 1;
        static char program[] = "fuzz";
        static char* argv[] = {program, nullptr};
        // Hides the machine's daemon, which would announce it to the machine's networks.
        setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent", 1);
        new QCoreApplication(argc, argv);
        limitNetServicesToInterfaces({"lo"});
        announced_ = std::make_shared<NSNetService>("", kType, name(), port);
        announced_->publish();
    }

    std::string name() const { return "Fuzz " + std::to_string(getpid()); }
    std::shared_ptr<NSNetService> found() const { return std::make_shared<NSNetService>("local.", kType, name()); }

  private:
    static constexpr const char* kType = "_matrixswitcher._tcp.";
    std::shared_ptr<NSNetService> announced_;
};

}  // namespace velmora::fuzz
